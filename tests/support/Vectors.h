/// @file
/// The records of a file of public vectors.
#pragma once

#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// One record: its values by their names, and where it stands.
struct Vector {
    std::map<std::string, std::string> values;
    std::string place;

    bool Has(const std::string& name) const { return values.count(name) > 0; }
    /// @throws std::out_of_range for a name that the record has not
    const std::string& Text(const std::string& name) const { return values.at(name); }
    /// The bytes of a hexadecimal value.
    std::string Bytes(const std::string& name) const {
        const std::string& digits = Text(name);
        if (digits.size() % 2 != 0) throw std::runtime_error(place + ": half a byte in " + name);
        std::string bytes;
        for (std::size_t at = 0; at < digits.size(); at += 2) {
            bytes += static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16));
        }
        return bytes;
    }
};

/// @param name  of a file in tests/data/vectors. @throws std::runtime_error for one that is not there
inline std::vector<Vector> ReadVectors(const std::string& name) {
    std::ifstream file(std::string(LUM_TEST_DATA) + "/vectors/" + name);
    if (!file) throw std::runtime_error("no such vectors: " + name);
    std::vector<Vector> vectors(1);
    std::string line;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.empty() && !vectors.back().values.empty()) vectors.emplace_back();
        const std::size_t equals = line.find(" =");
        if (line.empty() || line[0] == '#' || equals == line.npos) continue;
        if (vectors.back().place.empty()) vectors.back().place = name + ":" + std::to_string(number);
        const std::size_t value = line.find_first_not_of(' ', equals + 2);
        vectors.back().values[line.substr(0, equals)] = value == line.npos ? "" : line.substr(value);
    }
    if (vectors.back().values.empty()) vectors.pop_back();
    return vectors;
}
