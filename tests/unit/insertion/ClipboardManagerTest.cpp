#include "insertion/ClipboardManager.h"

#include "tests/fakes/FakePasteboard.h"

#include <gtest/gtest.h>

namespace sonvale::insertion {

using tests::FakePasteboard;

namespace {

platform::PasteboardItem::Representation form(const std::string& type, const std::string& text,
                                              int unitBits = 8, std::string encoding = {}) {
    const auto* data = reinterpret_cast<const std::byte*>(text.data());
    return {type, {data, data + text.size()}, unitBits, std::move(encoding)};
}

FakePasteboard::Items textWithPictureAndSecondItem() {
    return {{{form("text", "words"), form("picture", std::string("\x89PNG\0\1", 6)),
              form("numbers", "1234", 32, "N")}},
            {{form("file", "file:///a b")}}};
}

} // namespace

TEST(ClipboardManager, SavesAllFormsOfAllItemsWithTheChangeCount) {
    FakePasteboard pasteboard;
    pasteboard.control().copyElsewhere(textWithPictureAndSecondItem());
    const auto count = pasteboard.changeCount();

    const auto snapshot = ClipboardManager(pasteboard).saveContents();

    EXPECT_EQ(snapshot.items, textWithPictureAndSecondItem());
    EXPECT_EQ(snapshot.changeCount, count);
}

TEST(ClipboardManager, RestoresAllFormsOfAllItems) {
    FakePasteboard pasteboard;
    const ClipboardManager manager(pasteboard);
    pasteboard.control().copyElsewhere(textWithPictureAndSecondItem());
    auto snapshot = manager.saveContents();
    manager.replaceContents("dictated");

    manager.restoreContents(std::move(snapshot));

    EXPECT_EQ(pasteboard.control().contents(), textWithPictureAndSecondItem());
}

TEST(ClipboardManager, OverwritesLaterCopiesOfOtherPrograms) {
    FakePasteboard pasteboard;
    const ClipboardManager manager(pasteboard);
    pasteboard.control().copyElsewhere("before");
    auto snapshot = manager.saveContents();
    pasteboard.control().copyElsewhere("since");

    manager.restoreContents(std::move(snapshot));

    EXPECT_EQ(pasteboard.control().text(), "before");
}

TEST(ClipboardManager, LeavesThePasteboardEmptyAfterAnEmptySnapshot) {
    FakePasteboard pasteboard;
    const ClipboardManager manager(pasteboard);
    auto snapshot = manager.saveContents();
    ASSERT_TRUE(snapshot.items && snapshot.items->empty());
    manager.replaceContents("dictated");

    manager.restoreContents(std::move(snapshot));

    EXPECT_TRUE(pasteboard.control().contents().empty());
    EXPECT_EQ(pasteboard.control().calls().back(), FakePasteboard::Call::clearContents);
}

TEST(ClipboardManager, KeepsTheChangeCountIfThePasteboardHasNoItems) {
    FakePasteboard pasteboard;
    const ClipboardManager manager(pasteboard);
    pasteboard.control().copyElsewhere("before");
    pasteboard.control().setUnavailable(true);

    auto snapshot = manager.saveContents();

    EXPECT_EQ(snapshot, (PasteboardSnapshot{std::nullopt, pasteboard.changeCount()}));
    pasteboard.control().setUnavailable(false);
    manager.restoreContents(std::move(snapshot));
    EXPECT_TRUE(pasteboard.control().contents().empty());
}

TEST(ClipboardManager, ClearsBeforeItWritesTheText) {
    FakePasteboard pasteboard;
    pasteboard.control().copyElsewhere(textWithPictureAndSecondItem());

    ClipboardManager(pasteboard).replaceContents("dictated");

    EXPECT_EQ(pasteboard.control().calls(),
              (std::vector{FakePasteboard::Call::clearContents, FakePasteboard::Call::setString}));
    EXPECT_EQ(pasteboard.control().contents(), FakePasteboard::Items{FakePasteboard::textItem("dictated")});
}

} // namespace sonvale::insertion
