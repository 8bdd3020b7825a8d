/// @file
/// A list of policies as it travels, without a server.
#pragma once

#include "LumPalIo.h"
#include "LumVoxSoap.h"
#include "PolicyContainer.h"
#include "PolicyContainerSoapArg.h"

/// Writes the answer that holds the list, as a node does, and reads it as a client does.
inline LumConf::PolicyContainer ToTheWireAndBack(const LumConf::PolicyContainer& list) {
    LumConf::PolicyContainerSoapArg sent("list"), received("list");
    sent.SetContainer(list);
    LumVoxSoap::SOAPArg* const sentArguments[] = {&sent};
    LumVoxSoap::SOAPArg* const receivedArguments[] = {&received};
    LumPalIo::CharArrayOutputStream_t bytes;
    LumVoxSoap::SOAPEnvelope envelope;
    envelope.SetMethod("list");
    envelope.SetArgs(1, sentArguments);
    envelope.Write(bytes);
    envelope.Read(LumPalIo::CharArrayInputStream_t(bytes.ToCharArray()), 1, receivedArguments);
    return received.GetContainer();
}
