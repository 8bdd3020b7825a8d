/// @file
/// What a PolicyPackage handle refers to.
#pragma once

#include "LumPalArray.h"
#include "LumPalIo.h"
#include "LumPalRef.h"
#include "LumPalThread.h"
#include "MessageForwarder.h"

namespace LumConf {

/// Empty, collecting (initialised) or finished.
class PolicyPackageImpl final : public LumPalRef::RefCounted_t {
public:
    PolicyPackageImpl() = default;
    explicit PolicyPackageImpl(const LumVoxMsg::Messenger& messenger) : forwarder(messenger) {}
    const LumVoxMsg::Messenger& GetVoxMessenger() const noexcept { return forwarder; }

    void AddPolicy(const LumPalIo::File_t& headerFile);
    void Install(const LumPalStr::String_t& host, const InstallOptions& options);
    void Clear();
    bool IsInit() const noexcept { return initialised; }

private:
    void FinishLocked() LUMPAL_REQUIRES(mutex);

    MessageForwarder forwarder;
    // unmarked: held for the step from collecting to finished alone. Who adds or clears is alone by contract, and of a
    // finished package nothing changes while several send it.
    LumPalThread::Mutex_t mutex;
    bool initialised = false;
    bool finished = false;
    int policyCount = 0;
    LumPalIo::CharArrayOutputStream_t collected;
    LumPalArray::CharArray_t array;
};

}  // namespace LumConf
