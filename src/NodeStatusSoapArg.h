/// @file
/// The status of a node on the wire.
#pragma once

#include "FlatSoapArg.h"
#include "LumVoxRpc.h"
#include "NodeStatus.h"

namespace LumConf {

/// Carries a status: its fields by name, and side by side the fields of each certificate and of each error; the last
/// field of a row completes it. Fields that do not come keep what an empty status has.
class NodeStatusSoapArg : public FlatSoapArg {
public:
    static constexpr std::size_t kMostRows = 10000;  ///< of an answer; what is beyond is left out

    NodeStatusSoapArg();
    explicit NodeStatusSoapArg(NodeStatus status);
    const NodeStatus& GetStatus() const noexcept { return status; }
    /// The argument as it is described to clients.
    static LumVoxRpc::Description::Type Describe();
    void WriteContent(LumPalXml::XmlWriter_t& writer) const override;

protected:
    int StateOfChild(const LumPalStr::String_t& localName) const override;
    void StoreChild(int state, const LumPalStr::String_t& text) override;

private:
    NodeStatus status;
    NodeStatus::Certificate certificate;  ///< under way
    NodeStatus::Error error;
};

}  // namespace LumConf
