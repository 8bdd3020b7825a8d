#include "MscsLibraries.h"

#include <utility>

#include "LoggedFailure.h"

namespace LumConfCluster {

using namespace LumConf;

namespace {

enum class Library { Clusapi, Resutils };

struct Operation {
    const char* name;
    Library library;
};

constexpr Operation kOperations[]{
#define LUM_MSCS_ROW(name, library) {#name, Library::library},
    LUMPAL_MSCS_OPERATIONS(LUM_MSCS_ROW)
#undef LUM_MSCS_ROW
};

}  // namespace

void MscsLibraries::Load() {
    if (clusapi) TraceAndRaise(msg::MscsClusapiLoadedTwice);
    clusapi = system.LoadLibraryA("clusapi.dll");
    if (!clusapi) TraceAndRaise(msg::MscsClusapiNotLoaded, system.GetLastError());
    if (resutils) TraceAndRaise(msg::MscsResutilsLoadedTwice);
    resutils = system.LoadLibraryA("resutils.dll");
    // kept: the first library is looked at again, so that a failure of the second is seen when it is bound
    if (!clusapi) TraceAndRaise(msg::MscsResutilsNotLoaded, system.GetLastError());
}

std::vector<LumPalMscs::Function_t> MscsLibraries::Bind() {
    std::vector<LumPalMscs::Function_t> functions;
    for (const auto& [name, library] : kOperations) {
        const bool isClusapi = library == Library::Clusapi;
        functions.push_back(system.GetProcAddress(isClusapi ? clusapi : resutils, name));
        if (functions.back()) continue;
        const std::uint32_t error = system.GetLastError();
        Unload();
        TraceAndRaise(isClusapi ? msg::MscsNotInClusapi : msg::MscsNotInResutils, name, error);
    }
    return functions;
}

void MscsLibraries::Unload() {
    for (LumPalMscs::Handle_t* library : {&clusapi, &resutils}) {
        if (*library) system.FreeLibrary(std::exchange(*library, nullptr));
    }
}

}  // namespace LumConfCluster
