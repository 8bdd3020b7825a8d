/// @file
/// The message catalogue of the library.
#pragma once

#include "LumPalMsg.h"

namespace LumConf {

/// Access to the catalogue "conf".
class Catalog {
public:
    /// The one catalogue, made at the first call and only read afterwards. Any thread.
    static const LumPalMsg::MessageCatalog_t& GetCatalog();
};

}  // namespace LumConf
