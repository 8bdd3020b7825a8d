#include "Catalog.h"

#include "Names.h"

namespace LumConf {

const LumPalMsg::MessageCatalog_t& Catalog::GetCatalog() {
    static const LumPalMsg::MessageCatalog_t catalog(names::CatalogName);
    return catalog;
}

}  // namespace LumConf
