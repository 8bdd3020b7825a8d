#include "Catalog.h"

namespace LumConf {

const LumPalMsg::MessageCatalog_t& Catalog::GetCatalog() {
    static const LumPalMsg::MessageCatalog_t catalog("conf");
    return catalog;
}

}  // namespace LumConf
