#include "lumpolicy/NodeStored.h"

#include "Exceptions.h"
#include "LumVoxSoap.h"
#include "common/Arguments.h"

namespace lumpolicy {

using lumtools::Text;

std::vector<LumConf::StoredPolicy> ReadFromNode(const LumConf::PolicyForwarder& forwarder, const std::string& host,
                                                const LumConf::Selection& selection, LumConf::StoredFiles what,
                                                const std::string& targetId, const std::string& otherwise) try {
    return forwarder.ReadStored(Text(host), selection, what, Text(targetId));
} catch (const LumConf::NoPoliciesInstalledError&) {
    return {};
} catch (const LumConf::PolicyNotFoundError&) {
    return {};
} catch (const LumVoxSoap::SOAPFaultException& e) {
    throw LumVoxSoap::SOAPFaultException(
        LumPalMsg::CreateError_t(
            Text("The node does not tell what its policies hold: it is of an older version." + otherwise))
            .AddDetails(e.GetMessageList()));
}

}  // namespace lumpolicy
