#include "HacmpOutput.h"

#include "ToolText.h"

namespace LumConfCluster {

using LumPalStr::String_t;

namespace {

constexpr const char* kCluster = "Cluster: ";
constexpr const char* kState = "State: ";
constexpr const char* kNode = "Node: ";
constexpr const char* kBetweenFields = ":";

}  // namespace

String_t HacmpClusterName(const ToolLines& status) {
    return Between(LineWith(status, kCluster), kCluster, "(");
}

String_t HacmpStateWord(const ToolLines& status) {
    return Between(LineWith(status, kState), kState, "Nodes");
}

std::vector<HacmpNodeLine> HacmpNodes(const ToolLines& status) {
    std::vector<HacmpNodeLine> nodes;
    for (String_t line : status) {
        line.Trim();
        if (!Holds(line, kNode) || !Holds(line, kState)) continue;
        nodes.push_back({Between(line, kNode, kState), Between(line, kState)});
    }
    return nodes;
}

HacmpGroupLine ReadHacmpGroupLine(const String_t& line) {
    return {Field(line, kBetweenFields, 0).Trim(), Field(line, kBetweenFields, 1), Field(line, kBetweenFields, 2)};
}

}  // namespace LumConfCluster
