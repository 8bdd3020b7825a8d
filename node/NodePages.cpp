// NodePages of NodeCondition.h.
#include <atomic>

#include "Authorization.h"
#include "LumPalConfig.h"
#include "LumPalDaemon.h"
#include "LumPalMetrics.h"
#include "Names.h"
#include "NodeCondition.h"
#include "ReturnValue.h"

namespace LumConf {

using LumPalStr::String_t;
using LumVoxMsg::Page;
using LumVoxMsg::PageReader;

/// The live value of METRICS_ON_LOOPBACK.
class NodePages::Key : public LumPalConfig::ConfigChangeHandler_i {
public:
    Key() : nameSpace(names::NsConfServer) {
        Read();
        nameSpace.Register(*this);
    }
    ~Key() override { nameSpace.Unregister(*this); }
    void Update(const LumPalConfig::ChangedConfiguration_t&, const LumPalConfig::Configuration_t&) override { Read(); }
    bool IsOpen() const noexcept { return open; }

private:
    void Read() { open = nameSpace.Open().GetBool(names::MetricsOnLoopbackKey); }

    LumPalConfig::ConfigNamespace_t nameSpace;
    std::atomic<bool> open{false};
};

NodePages::NodePages() : key(std::make_shared<Key>()) {}

NodePages::~NodePages() = default;

void NodePages::ServeOn(LumVoxMsg::Messenger& messenger) const {
    messenger.Serve(Page{"/healthz", "text/plain; charset=utf-8", [](const PageReader&) { return true; },
                         [](const PageReader&) { return true; }, [] { return std::string("ok\n"); },
                         [] { return !LumPalRuntime::IsStopping(); }});
    messenger.Serve(Page{"/metrics", LumPalMetrics::kTextType,
                         [key = key](const PageReader& reader) { return reader.onLoopback && key->IsOpen(); },
                         [](const PageReader& reader) {
                             return Authorization::GetInstance().IsAuthorized(String_t::FromUtf8(reader.rightsId),
                                                                              RightList);
                         },
                         &LumPalMetrics::WriteText});
}

}  // namespace LumConf
