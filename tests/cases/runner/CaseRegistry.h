#pragma once

#include <nlohmann/json.hpp>

#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace sonvale::tests {

/// Thrown for an `in` with which the operation cannot be run.
class BadCase : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Runs the production code with a case's `in` and returns the result as JSON. Throws for an invalid `in`.
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
