#pragma once

#include <string>
#include <string_view>

namespace sonvale::adapters::posix {

/// The full name in the comment of an account (the GECOS field of passwd(5)): its first part, up to a comma.
/// Bytes that are not UTF-8 are replaced.
std::string fullNameIn(std::string_view comment);

/// That of the user whom this process belongs to; empty when the account has none, or there is no account.
std::string fullNameOfAccount();

} // namespace sonvale::adapters::posix
