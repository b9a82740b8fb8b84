#include "tests/cases/runner/CaseRunner.h"

#include "tests/cases/runner/JsonComparison.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <ostream>
#include <sstream>
#include <system_error>
#include <utility>
#include <vector>

namespace sonvale::tests {

namespace {

using nlohmann::json;
namespace fs = std::filesystem;

/// Returns a result as text; it may contain bytes that are not UTF-8.
std::string shown(const json& value) {
    return value.dump(-1, ' ', /*ensure_ascii=*/false, json::error_handler_t::replace);
}

std::optional<std::string> contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    if (!file.is_open() || file.bad())
        return std::nullopt;
    return std::move(bytes).str();
}

} // namespace

CaseRunner::CaseRunner(CaseRegistry registry, std::ostream& out)
    : registry_(std::move(registry))
    , out_(out) {}

void CaseRunner::runFolder(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".json")
            files.push_back(entry->path());
    }
    if (error)
        return fail(folder.string(), error.message());
    if (files.empty())
        return fail(folder.string(), "no case files");

    std::ranges::sort(files);
    for (const auto& file : files)
        runFile(file);
}

void CaseRunner::runFile(const fs::path& path) {
    const auto bytes = contents(path);
    if (!bytes)
        return fail(path.string(), "cannot be read");
    const auto root = json::parse(*bytes, nullptr, /*allow_exceptions=*/false);
    if (!root.is_object())
        return fail(path.string(), "is no JSON object");
    const auto op = root.find("op");
    const auto cases = root.find("cases");
    if (op == root.end() || !op->is_string())
        return fail(path.string(), "has no \"op\"");
    const auto function = registry_.find(op->get<std::string>());
    if (function == registry_.end())
        return fail(path.string(), "unknown op \"" + op->get<std::string>() + "\"");
    if (cases == root.end() || !cases->is_array() || cases->empty())
        return fail(path.string(), "has no \"cases\"");

    for (std::size_t i = 0; i < cases->size(); ++i)
        runCase(path.string(), function->second, (*cases)[i], i);
}

void CaseRunner::runCase(const std::string& file, const CaseFunction& function, const json& entry,
                         std::size_t index) {
    const auto name = entry.find("name");
    const auto where = file + ": " +
                       (name != entry.end() && name->is_string() ? name->get<std::string>()
                                                                 : "case " + std::to_string(index + 1));
    const auto in = entry.find("in");
    const auto want = entry.find("want");
    if (in == entry.end() || !in->is_object())
        return fail(where, "has no \"in\"");
    if (want == entry.end())
        return fail(where, "has no \"want\"");
    const auto tolerance = entry.find("tolerance");
    if (tolerance != entry.end() && !tolerance->is_number())
        return fail(where, "its \"tolerance\" is no number");

    try {
        const auto got = function(*in);
        const auto allowed =
            tolerance == entry.end() ? std::nullopt : std::optional(tolerance->get<double>());
        if (isSameJson(*want, got, allowed)) {
            ++passed_;
            return;
        }
        fail(where, "\n  wanted " + shown(*want) + "\n  got    " + shown(got));
    } catch (const std::exception& error) {
        fail(where, "\n  wanted " + shown(*want) + "\n  error  " + error.what());
    }
}

void CaseRunner::fail(const std::string& where, const std::string& what) {
    ++failed_;
    out_ << "FAILED " << where << (what.starts_with('\n') ? "" : ": ") << what << '\n';
}

} // namespace sonvale::tests
