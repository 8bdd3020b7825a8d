#include "lumcluster/StateMarks.h"

#include "lumcluster/Facts.h"

namespace lumcluster {

using lumtools::Mark;

Mark MarkOfState(const std::string& state) {
    if (state.starts_with(kOnline)) return Mark::Good;
    if (state.starts_with(kUnknown)) return Mark::Bad;
    return state.empty() ? Mark::None : Mark::Doubtful;
}

Mark MarkOfStateHere(const std::string& state) {
    return state.starts_with(kOnline) ? Mark::Good : Mark::None;
}

}  // namespace lumcluster
