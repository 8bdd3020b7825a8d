#include "Deadline.h"

#include "LumPalCmd.h"
#include "LumPalDaemon.h"

namespace LumPalCmd {

void ThrowStopping() {
    throw StoppingException_t(LumPalMsg::CreateError_t("This process ends, and with it the programs that it runs."));
}

void Deadline::Check() const {
    if (comesWithStop && LumPalRuntime::IsStopping()) ThrowStopping();
    if (IsOver()) throw TimeLimitException_t(LumPalMsg::CreateError_t("A program took longer than its time limit."));
}

}  // namespace LumPalCmd
