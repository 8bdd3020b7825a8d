#include "WriteError.h"

#include <unistd.h>

namespace LumPal {

void WriteError(std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t written = write(STDERR_FILENO, bytes.data(), bytes.size());
        if (written <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

}  // namespace LumPal
