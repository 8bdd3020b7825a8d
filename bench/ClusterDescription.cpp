// What the simulator is told of a cluster that is measured.
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "ClusterBox.h"

namespace bench {
namespace {

/// A list of so many elements, each as the call makes it of its number.
std::string List(int count, const std::function<std::string(int)>& element) {
    std::ostringstream list;
    list << "[";
    for (int i = 0; i < count; ++i) list << (i ? ", " : "") << element(i);
    list << "]";
    return list.str();
}

std::string NameOfSystem(int number) {
    return "\"system" + std::to_string(number) + "\"";
}

std::string SystemText(int number) {
    return "{\"name\": " + NameOfSystem(number) + "}";
}

std::string GroupText(int number, const MeasuredCluster& cluster) {
    std::string text = "{\"name\": \"group" + std::to_string(number) + "\", \"systems\": ";
    text += List(cluster.systems, NameOfSystem);
    if (cluster.isOnline) text += ", \"states\": {" + NameOfSystem(number % cluster.systems) + ": \"online\"}";
    return text + "}";
}

/// What a node has beside its tools. One product is known by its release, and has a configuration that is read.
const char* FilesText(const std::string& product) {
    if (product == "pcmk") return R"([{"path": "/var/lib/pacemaker/cib/cib.xml", "text": "<cib/>"}])";
    if (product != "rhas") return "[]";
    return R"([{"path": "/etc/redhat-release", "text": "release 5.4\n"},
               {"path": "/etc/cluster/cluster.conf", "text": "<cluster name='measured'><rm/></cluster>\n"}])";
}

}  // namespace

void DescribeCluster(const std::string& path, const MeasuredCluster& cluster) {
    std::ofstream file(path);
    file << R"({"product": ")" << cluster.product << R"(", "name": "measured", "host": "system0", "files": )"
         << FilesText(cluster.product) << ", \"systems\": " << List(cluster.systems, SystemText)
         << ", \"groups\": " << List(cluster.groups, [&](int number) { return GroupText(number, cluster); }) << "}\n";
    if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace bench
