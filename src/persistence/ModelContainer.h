#pragma once

#include "persistence/ModelContext.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace sonvale::persistence {

/// The object store. It stays open until the end of the process. Main thread only.
class ModelContainer {
public:
    /// Opens `Sonvale/Sonvale.store` in the folder of application data and makes the folder (0700, files
    /// 0600). If the store cannot be opened, it is put aside (`putStoreAside`) and a new one is made; if that
    /// fails too, the store is in memory and lasts for this run. If the cause may be temporary, such as a
    /// full disk, the store is opened without shared memory instead, or stays as it is for the next start.
    /// Every step is logged under the category "SwiftData". Aborts the process if even memory is missing.
    static std::unique_ptr<ModelContainer> open(const std::filesystem::path& applicationSupport);

    /// Makes a store in memory. Throws `StoreError`.
    static std::unique_ptr<ModelContainer> openInMemory();

    explicit ModelContainer(std::unique_ptr<Store> store);
    ~ModelContainer();

    /// Returns the one context of the main thread, which lives as long as the container.
    ModelContext& mainContext() { return mainContext_; }

    /// Returns the new name of the store that `open` could not open; nullopt if it was opened.
    const std::optional<std::filesystem::path>& storePutAside() const { return storePutAside_; }

private:
    std::optional<std::filesystem::path> storePutAside_;
    ModelContext mainContext_;
};

} // namespace sonvale::persistence
