#include "persistence/PrivateFiles.h"

#include "persistence/FileDescriptor.h"

#include <sys/stat.h>

namespace sonvale::persistence {

namespace {

std::error_code makeDirectories(const std::filesystem::path& directory) {
    if (::mkdir(directory.c_str(), privateDirectoryMode) == 0)
        return {};
    if (errno == ENOENT && directory.has_parent_path() && directory.parent_path() != directory) {
        if (const auto error = makeDirectories(directory.parent_path()))
            return error;
        if (::mkdir(directory.c_str(), privateDirectoryMode) == 0)
            return {};
    }
    if (errno != EEXIST)
        return lastSystemError();
    struct stat status{};
    if (::stat(directory.c_str(), &status) != 0)
        return lastSystemError();
    return S_ISDIR(status.st_mode) ? std::error_code{} : std::make_error_code(std::errc::not_a_directory);
}

} // namespace

std::filesystem::path withSuffix(std::filesystem::path file, std::string_view suffix) {
    file += suffix;
    return file;
}

std::error_code makePrivateDirectory(const std::filesystem::path& directory) {
    if (const auto error = makeDirectories(directory))
        return error;
    struct stat status{};
    if (::stat(directory.c_str(), &status) != 0)
        return lastSystemError();
    if (status.st_uid == ::geteuid() && (status.st_mode & othersRights) != 0 &&
        ::chmod(directory.c_str(), privateDirectoryMode) != 0)
        return lastSystemError();
    return {};
}

std::error_code replacePrivateFile(const std::filesystem::path& file, std::string_view content,
                                   Durability durability) {
    // The name is always the same, so that an end of the process in between leaves one such file only.
    auto temporary = file;
    temporary += ".new";
    ::unlink(temporary.c_str());
    const auto giveUp = [&](std::error_code error) {
        ::unlink(temporary.c_str());
        return error;
    };

    {
        const FileDescriptor descriptor(temporary, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, privateFileMode);
        if (!descriptor)
            return lastSystemError();
        if (const auto error = descriptor.write(content))
            return giveUp(error);
        const auto error = durability == Durability::now ? descriptor.synchronize() : std::error_code{};
        if (error)
            return giveUp(error);
    }
    if (::rename(temporary.c_str(), file.c_str()) != 0)
        return giveUp(lastSystemError());
    if (durability == Durability::later)
        return {};

    const FileDescriptor folder(file.has_parent_path() ? file.parent_path() : ".", O_RDONLY | O_DIRECTORY);
    if (!folder)
        return lastSystemError();
    return folder.synchronize();
}

} // namespace sonvale::persistence
