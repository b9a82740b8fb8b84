#include "persistence/ModelContainer.h"

#include "base/Log.h"
#include "persistence/PrivateFiles.h"
#include "persistence/Store.h"
#include "persistence/StoreFiles.h"

#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

namespace sonvale::persistence {

namespace {

/// Opens the store. A second attempt without shared memory may succeed on a full disk. The log gets the
/// failure of the first attempt.
std::unique_ptr<Store> openOnDisk(const std::filesystem::path& file) {
    std::string reason;
    try {
        return Store::open(file);
    } catch (const StoreError& error) {
        if (error.errorCase() != StoreError::Case::unavailable)
            throw;
        reason = error.errorDescription();
    }
    try {
        return Store::open(file, Store::Locking::exclusive);
    } catch (const StoreError& error) {
        throw StoreError(error.errorCase(), reason);
    }
}

/// Puts the old store aside, so that a new one can be made. Returns its new name.
std::optional<std::filesystem::path> clearAway(const std::filesystem::path& file) {
    auto aside = putStoreAside(file);
    if (!aside) {
        // A folder is in its place. If it cannot be removed, opening the store fails again and reports that.
        std::error_code ignored;
        std::filesystem::remove(file, ignored);
    }
    return aside;
}

std::unique_ptr<Store> openInMemoryOrStop(const base::Logger& logger) {
    try {
        return Store::openInMemory();
    } catch (const StoreError& error) {
        logger.fault("SwiftData: in-memory store could not be opened: {}", error.errorDescription());
        std::abort();
    }
}

std::unique_ptr<Store> reopenOrFallBack(const std::filesystem::path& file, const base::Logger& logger) {
    try {
        auto store = openOnDisk(file);
        logger.info("SwiftData: store reopened successfully after delete");
        return store;
    } catch (const StoreError& error) {
        logger.fault(
            "SwiftData: on-disk store unrecoverable ({}); falling back to in-memory store — data will NOT "
            "persist this session",
            error.errorDescription());
        return openInMemoryOrStop(logger);
    }
}

} // namespace

std::unique_ptr<ModelContainer> ModelContainer::open(const std::filesystem::path& applicationSupport) {
    const base::Logger logger("SwiftData");
    const auto directory = applicationSupport / storeDirectoryName;
    const auto file = directory / storeFileName;

    if (const auto error = makePrivateDirectory(directory))
        logger.error("SwiftData: could not create store directory: {}", error.message());

    logger.info("SwiftData: opening store at {}", file.string());
    std::optional<std::filesystem::path> aside;
    try {
        auto store = openOnDisk(file);
        logger.info("SwiftData: store opened successfully");
        return std::make_unique<ModelContainer>(std::move(store));
    } catch (const StoreError& error) {
        logger.error("SwiftData: initial open failed ({}); deleting store and retrying",
                     error.errorDescription());
        // A store that may be intact stays in place for the next start.
        if (error.errorCase() != StoreError::Case::unavailable)
            aside = clearAway(file);
    }

    auto container = std::make_unique<ModelContainer>(reopenOrFallBack(file, logger));
    container->storePutAside_ = std::move(aside);
    return container;
}

std::unique_ptr<ModelContainer> ModelContainer::openInMemory() {
    return std::make_unique<ModelContainer>(Store::openInMemory());
}

ModelContainer::ModelContainer(std::unique_ptr<Store> store)
    : mainContext_(std::move(store)) {}

ModelContainer::~ModelContainer() = default;

} // namespace sonvale::persistence
