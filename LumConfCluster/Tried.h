/// @file
/// Steps that may fail.
#pragma once

#include "LumPalMsg.h"
#include "Trace.h"

namespace LumConfCluster {

/// Does a step. What is needed to see one item only is left out when it cannot be had: a failure is traced.
/// @return whether the step was done
template <class Step>
bool Tried(Step&& step) {
    try {
        step();
        return true;
    } catch (const LumPalMsg::Exception_t& e) {
        LUMCONF_TRACE(LumConf::trace::Cluster, e.GetMessageList());
        return false;
    }
}

}  // namespace LumConfCluster
