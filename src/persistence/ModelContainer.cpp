#include "persistence/ModelContainer.h"

#include "base/Log.h"
#include "persistence/PrivateFiles.h"
#include "persistence/Store.h"

#include <cstdlib>
#include <system_error>

namespace sonvale::persistence {

namespace {

constexpr std::string_view storeDirectoryName = "Sonvale";
constexpr std::string_view storeFileName = "Sonvale.store";

/// The store itself, the companions named by extension, and those that SQLite makes.
constexpr std::string_view storeFileSuffixes[] = {"", ".wal", ".shm", "-wal", "-shm"};

void deleteStore(const std::filesystem::path& file) {
    for (const auto suffix : storeFileSuffixes) {
        auto path = file;
        path += suffix;
        // What cannot be deleted shows when the store is opened again.
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
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
        auto store = Store::open(file);
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
    try {
        auto store = Store::open(file);
        logger.info("SwiftData: store opened successfully");
        return std::make_unique<ModelContainer>(std::move(store));
    } catch (const StoreError& error) {
        logger.error("SwiftData: initial open failed ({}); deleting store and retrying",
                     error.errorDescription());
    }

    deleteStore(file);
    return std::make_unique<ModelContainer>(reopenOrFallBack(file, logger));
}

std::unique_ptr<ModelContainer> ModelContainer::openInMemory() {
    return std::make_unique<ModelContainer>(Store::openInMemory());
}

ModelContainer::ModelContainer(std::unique_ptr<Store> store)
    : mainContext_(std::move(store)) {}

ModelContainer::~ModelContainer() = default;

} // namespace sonvale::persistence
