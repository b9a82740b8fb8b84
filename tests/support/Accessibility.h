#pragma once

#include <map>
#include <string>

namespace sonvale::tests {

/// Does in a D-Bus session what screen readers do, so that its programs tell of themselves. There are some
/// that tell nothing unless it is done before they start, Qt's neither unless the registry runs already.
void turnOnAccessibility(const std::map<std::string, std::string>& environment);

} // namespace sonvale::tests
