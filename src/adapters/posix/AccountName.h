#pragma once

#include <string>
#include <string_view>

namespace sonvale::adapters::posix {

/// Returns the full name in the comment of an account (the GECOS field of passwd(5)): its first part, up to a
/// comma. Replaces bytes that are not UTF-8.
std::string fullNameIn(std::string_view comment);

/// Returns the full name of the user of this process. Empty if the account has none, or if there is no
/// account.
std::string fullNameOfAccount();

} // namespace sonvale::adapters::posix
