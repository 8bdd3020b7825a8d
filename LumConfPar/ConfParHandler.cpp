#include "ConfParHandler.h"

#include "FirstReading.h"
#include "LumPalLog.h"
#include "LumPalMsg.h"
#include "Names.h"

namespace LumConfPar {

using namespace LumConf;

ConfParHandler::ConfParHandler() : nameSpace(names::NsConfCore) {
    try {
        RegisterAndRead(nameSpace, *this, mutex, [this] { Read(); });
    } catch (const LumPalMsg::Exception_t& e) {
        LumPalLog::Log(e.GetMessageList());
    }
}

void ConfParHandler::Read() {
    try {
        cache = nameSpace.Open().GetBool(names::CacheSettingsPoliciesKey);
    } catch (const LumPalMsg::Exception_t& e) {
        // The worker must not end over a line of the configuration: jobs wait for it.
        LumPalLog::Log(e.GetMessageList());
    }
}

ConfParHandler::~ConfParHandler() {
    nameSpace.Unregister(*this);
}

void ConfParHandler::Update(const LumPalConfig::ChangedConfiguration_t& changes,
                            const LumPalConfig::Configuration_t& configuration) {
    const LumPalThread::MutexLock_t lock(mutex);
    if (!changes.HasChanged(names::CacheSettingsPoliciesKey)) return;
    cache = configuration.GetBool(names::CacheSettingsPoliciesKey);
}

}  // namespace LumConfPar
