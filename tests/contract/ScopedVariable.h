#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace sonvale::tests {

/// Sets a variable of the environment in a scope and restores it afterwards.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value)
        : name_(name) {
        if (const char* before = std::getenv(name))
            before_ = before;
        setenv(name, value.c_str(), 1);
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;
    ~ScopedVariable() {
        if (before_)
            setenv(name_, before_->c_str(), 1);
        else
            unsetenv(name_);
    }

private:
    const char* name_;
    std::optional<std::string> before_;
};

} // namespace sonvale::tests
