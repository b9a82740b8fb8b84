#include "insertion/ClipboardManager.h"

#include <utility>

namespace sonvale::insertion {

void ClipboardManager::prepareToSave() const {
    pasteboard_->prefetch();
}

void ClipboardManager::dropPrepared() const {
    pasteboard_->dropPrefetch();
}

PasteboardSnapshot ClipboardManager::saveContents() const {
    PasteboardSnapshot snapshot;
    snapshot.changeCount = pasteboard_->changeCount();
    snapshot.items = pasteboard_->items();
    return snapshot;
}

void ClipboardManager::restoreContents(PasteboardSnapshot snapshot) const {
    pasteboard_->clearContents();
    if (snapshot.items && !snapshot.items->empty())
        pasteboard_->writeItems(std::move(*snapshot.items));
}

void ClipboardManager::replaceContents(const std::string& text) const {
    pasteboard_->clearContents();
    pasteboard_->setString(text);
}

} // namespace sonvale::insertion
