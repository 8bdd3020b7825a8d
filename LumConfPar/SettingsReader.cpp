#include "SettingsReader.h"

#include "Messages.h"
#include "SettingsPackage.h"

namespace LumConfPar {

using namespace LumConf;
using LumPalConfig::ConfigGroup_t;

SettingsReader::SettingsReader(const LumPalStr::String_t& package) : package(package) {}

ConfigGroup_t SettingsReader::Read() {
    if (!initialized) Raise<LumPalMsg::IllegalStateError_t>(msg::SettingsReaderUsed);
    const ConfigGroup_t group = LumPalConfig::ConfigBase_t::Open(NotNull(package));
    initialized = false;
    return group;
}

}  // namespace LumConfPar
