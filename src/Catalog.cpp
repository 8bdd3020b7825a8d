#include "Catalog.h"

#include "Names.h"

namespace LumConf {

const LumPalMsg::MessageCatalog_t& Catalog::GetCatalog() {
    // never destroyed: threads make messages to the end
    static const LumPalMsg::MessageCatalog_t& catalog = *new LumPalMsg::MessageCatalog_t(names::CatalogName);
    return catalog;
}

}  // namespace LumConf
