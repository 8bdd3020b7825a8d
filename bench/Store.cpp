#include "Store.h"

#include <unistd.h>

#include "Documents.h"

namespace bench {

const char* PlaceInMemory() {
    constexpr const char* memory = "/dev/shm";
    return access(memory, R_OK | W_OK | X_OK) == 0 ? memory : "/tmp";
}

Store::Store(int policies) : root(PlaceInMemory()), count(policies), bytes(FillStore(root.Native(), policies)) {}

void Store::Use() const {
    LumPalRuntime::Dir_t::SetRoot(root.Path());
}

const Store& Store::Small(const Session& session) {
    static const Store store(session.Choose(10000, 20));
    return store;
}

const Store& Store::Large(const Session& session) {
    static const Store store(session.Choose(100000, 200));
    return store;
}

}  // namespace bench
