/// @file
/// The history of operations on a Pacemaker cluster's nodes, as it stands in the status of its configuration.
#pragma once

#include <string>

namespace pcmkHistory {

inline std::string Operation(const std::string& name, const std::string& interval, int number, int code, int status) {
    return "<lrm_rsc_op operation='" + name + "' interval='" + interval + "' call-id='" + std::to_string(number) +
           "' rc-code='" + std::to_string(code) + "' op-status='" + std::to_string(status) + "'/>";
}
/// @param number  the higher, the later
inline std::string Ended(const std::string& name, int number, int code) {
    return Operation(name, "0", number, code, 0);
}
/// One that has not ended.
inline std::string Begun(const std::string& name, const std::string& interval) {
    return Operation(name, interval, -1, 193, -1);
}
inline std::string Resource(const std::string& id, const std::string& operations) {
    return "<lrm_resource id='" + id + "'>" + operations + "</lrm_resource>";
}
inline std::string Node(const std::string& name, const std::string& resources) {
    return "<node_state uname='" + name + "'><lrm><lrm_resources>" + resources + "</lrm_resources></lrm></node_state>";
}
/// A node whose history is gone.
inline std::string NodeWithout(const std::string& name) {
    return "<node_state uname='" + name + "'/>";
}

}  // namespace pcmkHistory
