// LumPalRuntime.h: directories, the program's name and arguments, the environment.
#include "LumPalPlainMutex.h"
#include "LumPalRuntime.h"

#include <cstdlib>
#include <vector>

#include "LumPalIo.h"
#include "LumPalMsg.h"

namespace LumPalRuntime {
namespace {

using LumPalStr::String_t;

constexpr const char* DefaultRoot = "/var/opt/lum";
constexpr const char* DefaultName = "lum";

struct KindName {
    int kind;
    const char* name;
};

constexpr KindName KindNames[] = {{Root, ""},       {Etc, "etc/"},           {Spool, "spool/"},
                                  {LogDir, "log/"}, {Policies, "policies/"}, {Temp, "tmp/"}};

struct KnownRoot {
    static KnownRoot& Get() {
        static KnownRoot& root = *new KnownRoot;  // never destroyed: other threads may still ask at the end
        return root;
    }
    LumPalThread::PlainMutex_t mutex;
    String_t path LUMPAL_GUARDED_BY(mutex) = String_t::Null();  ///< null until it is known
};

String_t RootFromEnvironment() {
    const String_t root = Environment_t::Get("LUM_ROOT");
    return root.IsNotEmpty() ? root : String_t(DefaultRoot);
}

String_t GetRoot() {
    KnownRoot& root = KnownRoot::Get();
    const LumPalThread::PlainLock_t lock(root.mutex);
    if (root.path.IsNull()) root.path = RootFromEnvironment();
    return root.path;
}

bool EndsInSeparator(const String_t& path) {
    return path.IsNotEmpty() && path.LastChar() == LumPalIo::File_t::Separator().LastChar();
}

String_t WithSeparator(const String_t& path) {
    return EndsInSeparator(path) ? path : path + LumPalIo::File_t::Separator();
}

String_t NameOf(int kind) {
    for (const auto& row : KindNames) {
        if (row.kind == kind) return row.name;
    }
    throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("There is no directory of the kind %1.") << kind);
}

/// Set once by main.
std::vector<String_t>& Arguments() {
    static auto& arguments = *new std::vector<String_t>;  // never destroyed: other threads may still ask at the end
    return arguments;
}

}  // namespace

String_t Dir_t::Path(int kind, const String_t& subPath) {
    const String_t directory = WithSeparator(GetRoot()) + NameOf(kind);
    return subPath.IsEmpty() ? directory : WithSeparator(directory + subPath);
}

void Dir_t::SetRoot(const String_t& root) {
    KnownRoot& known = KnownRoot::Get();
    const LumPalThread::PlainLock_t lock(known.mutex);
    known.path = root.IsEmpty() ? String_t::Null() : root;
}

void App_t::Init(int argc, const char* const* argv) {
    Arguments().clear();
    for (int i = 0; i < argc; ++i) Arguments().push_back(String_t::FromUtf8(argv[i]));
}

String_t App_t::GetName() {
    return Arguments().empty() ? String_t(DefaultName) : LumPalIo::File_t(Arguments().front()).GetName();
}

int App_t::GetArgCount() {
    return static_cast<int>(Arguments().size());
}

String_t App_t::GetArg(int index) {
    if (index < 0 || index >= GetArgCount()) {
        throw LumPalMsg::IllegalArgumentError_t(LumPalMsg::CreateError_t("There is no argument %1.") << index);
    }
    return Arguments()[static_cast<std::size_t>(index)];
}

String_t Environment_t::Get(const char* name) {
    const char* value = std::getenv(name);
    return value ? String_t::FromUtf8(value) : String_t("");
}

}  // namespace LumPalRuntime
