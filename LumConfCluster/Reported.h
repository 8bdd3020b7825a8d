/// @file
/// Operations whose failures have a message of their own.
#pragma once

#include "Exceptions.h"
#include "Messages.h"

namespace LumConfCluster {

/// Runs an operation, and returns what it returns.
/// @throws LumConf::ClusterException with the row `failed` and what was thrown as details; with the row `unknown`
///         where that was no exception of ours, as when memory runs out
template <unsigned Failed, unsigned Unknown, class Operation>
auto Reported(const LumConf::MessageOf<Failed>& failed, const LumConf::MessageOf<Unknown>& unknown,
              Operation&& operation) {
    try {
        return operation();
    } catch (const LumPalMsg::Exception_t& e) {
        LumConf::Raise<LumConf::ClusterException>(failed, e);
    } catch (...) {
        LumConf::Raise<LumConf::ClusterException>(unknown);
    }
}

}  // namespace LumConfCluster
