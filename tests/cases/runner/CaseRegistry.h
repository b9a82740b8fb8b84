#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace sonvale::tests {

/// Thrown for an `in` that the operation cannot be run with.
class BadCase : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Runs the production code with a case's `in` and returns what came back, as JSON. Throws for a bad `in`.
using CaseFunction = std::function<nlohmann::json(const nlohmann::json& in)>;

/// The operations that case files can name.
using CaseRegistry = std::map<std::string, CaseFunction>;

void addTextCases(CaseRegistry& registry);
void addHotkeyCases(CaseRegistry& registry);
void addAudioCases(CaseRegistry& registry);
void addEngineCases(CaseRegistry& registry);
void addServiceCases(CaseRegistry& registry);
void addPersistenceCases(CaseRegistry& registry);
void addInterfaceCases(CaseRegistry& registry);

} // namespace sonvale::tests
