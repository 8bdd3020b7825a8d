/// @file
/// Several policies, installed with one request.
#pragma once

#include "Export.h"
#include "LumPalIo.h"
#include "LumPalStr.h"
#include "LumVoxMsg.h"

namespace LumConf {

class InstallOptions;
class PolicyPackageImpl;

/// Collects policies and sends them to a node in one request. The first Install closes the package: it then can be
/// sent to any number of nodes without being built again, but it cannot grow. A handle: copies share.
/// One thread may fill a package; several may send a closed one.
class LUMCONF_API PolicyPackage {
public:
    /// With a messenger of its own.
    PolicyPackage();
    /// Shares the caller's messenger.
    explicit PolicyPackage(const LumVoxMsg::Messenger& messenger);
    PolicyPackage(const PolicyPackage& other);
    PolicyPackage& operator=(const PolicyPackage& other);
    ~PolicyPackage();
    /// The messenger in use.
    const LumVoxMsg::Messenger& GetVoxMessenger() const;

    /// Adds a header file with the data files beside it. A failure leaves the package as it was.
    /// @throws LumPalMsg::IllegalStateError_t 612 on a closed package; LumPalIo::FileNotFoundException_t;
    ///         ConfException 610 for a header or a data file that cannot be read
    void AddPolicy(const LumPalIo::File_t& headerFile);
    /// Closes the package and sends it.
    /// @throws LumPalMsg::IllegalStateError_t 613 on an empty package; else as PolicyForwarder::Install
    void Install(const LumPalStr::String_t& host);
    void Install(const LumPalStr::String_t& host, const InstallOptions& options);
    /// Empties the package, for new use.
    void Clear();
    /// Whether a policy was added.
    bool IsInit() const;

private:
    PolicyPackageImpl* impl;
};

}  // namespace LumConf
