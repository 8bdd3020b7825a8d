#include "lumpolicy/DocumentWarnings.h"

#include "PolicyHeader.h"
#include "common/Arguments.h"
#include "common/Outcome.h"

namespace lumpolicy {

LumPalMsg::MessageList_t WarningsOf(const std::string& file) {
    LumPalMsg::MessageList_t warnings;
    lumtools::Attempt([&] { warnings = LumConf::PolicyHeader::FindWarnings(LumPalIo::File_t(lumtools::Text(file))); });
    return warnings;
}

void FillWarnings(nlohmann::ordered_json& object, const LumPalMsg::MessageList_t& warnings) {
    object["warnings"] = nlohmann::ordered_json::array();
    for (const lumtools::MessageLine& line : lumtools::LinesOf(warnings)) {
        object["warnings"].push_back({{"level", line.level}, {"text", line.text}});
    }
}

}  // namespace lumpolicy
