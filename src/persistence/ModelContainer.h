#pragma once

#include "persistence/ModelContext.h"

#include <filesystem>
#include <memory>
#include <optional>

namespace sonvale::persistence {

/// The object store, open from its making to the end of the process. Main thread only.
class ModelContainer {
public:
    /// Opens `Sonvale/Sonvale.store` in the folder of application data, making the folder (0700, files 0600).
    /// A store that cannot be opened is put aside (`putStoreAside`) and a new one is made; when that fails
    /// too, the store is in memory and lasts for this run. If the cause may pass, such as a full disk, the
    /// store is opened without shared memory instead, or stays as it is for the next start. Every step is
    /// logged under the category "SwiftData". Ends the process when there is not even memory.
    static std::unique_ptr<ModelContainer> open(const std::filesystem::path& applicationSupport);

    /// A store that never reaches the disk. Throws `StoreError`.
    static std::unique_ptr<ModelContainer> openInMemory();

    explicit ModelContainer(std::unique_ptr<Store> store);
    ~ModelContainer();

    /// The one context of the main thread; it lives as long as the container.
    ModelContext& mainContext() { return mainContext_; }

    /// Where `open` has put the store that it could not open; nullopt if it has not.
    const std::optional<std::filesystem::path>& storePutAside() const { return storePutAside_; }

private:
    std::optional<std::filesystem::path> storePutAside_;
    ModelContext mainContext_;
};

} // namespace sonvale::persistence
