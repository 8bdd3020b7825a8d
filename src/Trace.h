/// @file
/// The trace objects of the library: for each component one for steps (level 2) and one for blocks (level 3).
///
///     LUMCONF_BLOCK(trace::Policy, "PolicyOperation::Remove");
///     LUMCONF_TRACE(trace::Policy, String_t("skipped ") + path);
#pragma once

#include "LumPalTrc.h"
#include "Names.h"

namespace LumConf::trace {

/// The two trace objects of one component. Constant-like: usable at any time and from any thread.
struct Component {
    explicit Component(const char* name) : steps(name, 2), blocks(name, 3) {}
    LumPalTrc::TraceObj_t steps;
    LumPalTrc::TraceObj_t blocks;
};

// Made at their first use, so that static objects of other files may trace.
inline const Component& Policy() {
    static const Component component(names::TracePolicy);
    return component;
}
inline const Component& Message() {
    static const Component component(names::TraceMessage);
    return component;
}
inline const Component& Config() {
    static const Component component(names::TraceConfig);
    return component;
}
inline const Component& Cluster() {
    static const Component component(names::TraceCluster);
    return component;
}
inline const Component& ClusterCliOutputs() {
    static const Component component(names::TraceClusterCliOutputs);
    return component;
}

}  // namespace LumConf::trace

/// Marks entry and exit of the enclosing scope.
#define LUMCONF_BLOCK(component, name) \
    LumPalTrc::BlockTrace_t lumConfBlock((component)().blocks, (name), 3, __FILE__, __LINE__)
/// A step; the text is built only when somebody listens.
#define LUMCONF_TRACE(component, text) LUM_TRACE((component)().steps, (text))
