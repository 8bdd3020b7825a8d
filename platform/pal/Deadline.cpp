#include "Deadline.h"

#include "LumPalCmd.h"

namespace LumPalCmd {

void Deadline::Check() const {
    if (IsOver()) throw TimeLimitException_t(LumPalMsg::CreateError_t("A program took longer than its time limit."));
}

}  // namespace LumPalCmd
