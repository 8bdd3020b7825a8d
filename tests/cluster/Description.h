/// @file
/// A cluster as a file describes it, and how its tools are to behave.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

using Words = std::vector<std::string>;

/// States are "online", "offline", "unknown", for groups also "partial" and "faulted"; a product has its own word for
/// each. Any other text stands for itself and is printed as it is.
struct System {
    std::string name;
    std::string site;  ///< of a global cluster: stands before the name in lists; empty in others
    std::string id;
    std::string state;
};

struct Resource {
    std::string name;
    std::string type;
    std::string address;
};

struct Group {
    std::string name;
    std::vector<std::pair<std::string, std::string>> systems;  ///< with their priorities
    std::map<std::string, std::string> states;                 ///< by system; offline where nothing is said
    std::string state;                                         ///< of the group as a whole; empty: as its systems are
    std::vector<Resource> resources;
    std::map<std::string, std::string> attributes;  ///< values that are printed as they stand
};

/// What a tool does otherwise than usual. Done in the order of the members.
struct Conduct {
    std::string call;                  ///< matches the words of a call, as in a shell; a blank between words
    std::optional<long> number;        ///< only that one of the matching calls, the first is 1
    std::string waitFor;               ///< a file: nothing is done before it is there
    std::optional<std::string> print;  ///< instead of the usual output
    std::string error;                 ///< to the error stream
    long repeat = 1;                   ///< how often it prints
    bool forever = false;              ///< prints without end
    bool child = false;                ///< leaves a child that holds the output and stays
    bool close = false;                ///< closes its output
    bool hang = false;                 ///< stays
    int signal = 0;                    ///< dies by it
    std::optional<int> code;           ///< ends with it
};

/// One that anybody may read and run.
struct File {
    std::string path;
    std::string text;
};

struct Description {
    std::string product;
    std::string name;
    std::string host;                          ///< the name that this node bears inside the box; empty: its own
    std::map<std::string, std::string> hosts;  ///< addresses by names; empty: the names that this system knows
    std::vector<File> files;                   ///< further ones that are there, such as daemon files of other products
    std::vector<std::string> missing;          ///< names of tools, or of the daemon file, that are not there
    std::vector<System> systems;
    std::vector<Group> groups;
    std::vector<Conduct> conducts;  ///< the first one that matches a call counts
    bool separators = false;        ///< tables of several groups have a line between them

    const System* FindSystem(const std::string& wanted) const;
    const Group* FindGroup(const std::string& wanted) const;
    const Resource* FindResource(const std::string& wanted) const;
};

/// @throws std::runtime_error, names the file and what is wrong in it
Description ReadDescription(const std::string& path);

}  // namespace sim
