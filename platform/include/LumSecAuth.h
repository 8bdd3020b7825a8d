/// @file
/// Who may do what.
#pragma once

#include <memory>

#include "LumPalExport.h"
#include "LumPalMsg.h"
#include "LumPalStr.h"

namespace LumSecAuth {

LUMPAL_DECLARE_EXCEPTION(LUMPAL_API, NotAuthorizedException, LumPalMsg::RuntimeException_t);

/// Sender id of the node's own administrator: who proved on the loopback road that it may read the node's secret.
LUMPAL_API const char* LocalAdministrator();
/// Whether an id has a meaning inside the system (empty, "conf.cluster", the local administrator's)
/// and so may not be claimed by a certificate.
LUMPAL_API bool IsReservedId(const LumPalStr::String_t& id);

/// What is wrong with the words of "authorization.ini"; empty when nothing is, or when there is no such file.
/// @throws LumPalCfgFile::SyntaxException_t, LumPalIo::IOException_t
LUMPAL_API LumPalMsg::MessageList_t FindWrongRights();

/// Answers by "authorization.ini" in folder kind 7: a section for each domain, a line for each
/// sender with its rights by name or number. What is not granted is refused. Any thread;
/// an Update beside IsAllowed is safe.
class LUMPAL_API Authorizer {
public:
    Authorizer();
    virtual ~Authorizer();
    /// @param right  one bit or several; all are needed
    /// @param mode   always 0
    bool IsAllowed(const LumPalStr::String_t& sender, const LumPalStr::String_t& domain, unsigned right, int mode);
    /// Reloads the file; a broken one keeps the last good rights and says so in the application log.
    void Update();

private:
    struct Impl;
    std::unique_ptr<Impl> impl;
};

}  // namespace LumSecAuth
