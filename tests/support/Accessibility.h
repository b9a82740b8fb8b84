#pragma once

#include <map>
#include <string>

namespace sonvale::tests {

/// Turns accessibility on in a D-Bus session as screen readers do, so that programs report their contents.
/// Some programs report nothing unless this happens before they start, and Qt's programs need a running
/// registry too.
void turnOnAccessibility(const std::map<std::string, std::string>& environment);

} // namespace sonvale::tests
