#include "ReportedStep.h"

#include "LumPalLog.h"
#include "LumPalRuntime.h"
#include "Trace.h"

namespace LumConf {

void RunReported(const MessageOf<1>& row, const std::function<void()>& step) {
    try {
        step();
    } catch (const LumPalMsg::Exception_t& e) {
        const LumPalMsg::Message_t message = Make(row, LumPalRuntime::App_t::GetName(), e);
        LUMCONF_TRACE(trace::Message, message.Format(LumPalMsg::Text | LumPalMsg::Details));
        LumPalLog::Log(message);
    }
}

}  // namespace LumConf
