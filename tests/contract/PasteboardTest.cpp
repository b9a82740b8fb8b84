#include "adapters/x11/selections/X11Pasteboard.h"

#include "runtime/SystemClock.h"
#include "tests/contract/PasteboardContract.h"
#include "tests/fakes/FakePasteboard.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/SelectionRequestor.h"

namespace sonvale::tests {

namespace {

class FakeHarness final : public PasteboardHarness {
public:
    platform::Pasteboard& pasteboard() override { return fake_; }
    void copyTextElsewhere(const std::string& text) override { fake_.control().copyElsewhere(text); }
    void copyElsewhere(const platform::PasteboardItem::Representation& form) override {
        fake_.control().copyElsewhere({platform::PasteboardItem{{form}}});
    }
    void clearElsewhere() override { fake_.control().copyElsewhere(FakePasteboard::Items{}); }
    std::optional<std::string> textElsewhere() override { return fake_.control().text(); }
    std::optional<std::vector<std::byte>> dataElsewhere(const std::string& type) override {
        for (const auto& item : fake_.control().contents()) {
            for (const auto& form : item.representations) {
                if (form.type == type)
                    return form.data;
            }
        }
        return std::nullopt;
    }
    void breakSystem() override { fake_.control().setUnavailable(true); }

private:
    FakePasteboard fake_;
};

class X11Harness final : public PasteboardHarness {
public:
    platform::Pasteboard& pasteboard() override { return pasteboard_; }
    void copyTextElsewhere(const std::string& text) override { own({{"UTF8_STRING", bytes(text), "", 8}}); }
    void copyElsewhere(const platform::PasteboardItem::Representation& form) override {
        own({{form.type, form.data, form.encoding, form.unitBits}});
    }
    void clearElsewhere() override { SelectionRequestor(display_->name()).clear(); }
    std::optional<std::string> textElsewhere() override {
        const auto data = dataElsewhere("UTF8_STRING");
        if (!data)
            return std::nullopt;
        return std::string(reinterpret_cast<const char*>(data->data()), data->size());
    }
    std::optional<std::vector<std::byte>> dataElsewhere(const std::string& type) override {
        if (auto answer = SelectionRequestor(display_->name()).convert(type))
            return std::move(answer->data);
        return std::nullopt;
    }
    void breakSystem() override { display_.reset(); }

private:
    void own(std::vector<SelectionOwner::Form> forms) {
        owner_.reset();
        owner_ = std::make_unique<SelectionOwner>(display_->name(), std::move(forms));
    }

    runtime::SystemClock clock_;
    std::unique_ptr<PrivateDisplay> display_ = std::make_unique<PrivateDisplay>();
    adapters::x11::X11Pasteboard pasteboard_{clock_, display_->name()};
    std::unique_ptr<SelectionOwner> owner_;
};

platform::PasteboardItem::Representation form(const std::string& type, const std::string& text,
                                              int unitBits = 8, std::string encoding = {}) {
    return {type, bytes(text), unitBits, std::move(encoding)};
}

} // namespace

TEST_P(PasteboardContract, ReturnsAnEmptyVectorWhenEmpty) {
    const auto items = pasteboard.items();
    ASSERT_TRUE(items.has_value());
    EXPECT_TRUE(items->empty());
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST_P(PasteboardContract, CountsChangesOfOtherProgramsAtOnce) {
    const auto before = pasteboard.changeCount();
    harness->copyTextElsewhere("one");
    const auto first = pasteboard.changeCount();
    EXPECT_GT(first, before);
    harness->copyTextElsewhere("one");
    EXPECT_GT(pasteboard.changeCount(), first);
}

TEST_P(PasteboardContract, CountsItsOwnChanges) {
    const auto before = pasteboard.changeCount();
    pasteboard.clearContents();
    pasteboard.setString("text");
    EXPECT_GT(pasteboard.changeCount(), before);
}

TEST_P(PasteboardContract, DoesNotCountReading) {
    harness->copyTextElsewhere("text");
    const auto before = pasteboard.changeCount();
    pasteboard.items();
    pasteboard.string();
    EXPECT_EQ(pasteboard.changeCount(), before);
}

TEST_P(PasteboardContract, DoesNotCountAPrefetch) {
    harness->copyTextElsewhere("text");
    const auto before = pasteboard.changeCount();
    pasteboard.prefetch();
    EXPECT_EQ(pasteboard.changeCount(), before);
    EXPECT_EQ(pasteboard.string(), "text");
    pasteboard.dropPrefetch();
    EXPECT_EQ(pasteboard.changeCount(), before);
}

TEST_P(PasteboardContract, ReadsContentsCopiedAfterAPrefetch) {
    const auto old = form("application/x-old", "old");
    const auto current = form("application/x-new", "new");
    harness->copyElsewhere(old);
    pasteboard.prefetch();
    harness->copyElsewhere(current);
    for (int i = 0; i < 2; ++i) {
        const auto items = pasteboard.items();
        ASSERT_TRUE(items && items->size() == 1);
        EXPECT_EQ(items->front().representations, std::vector{current});
    }
}

TEST_P(PasteboardContract, ReadsItsOwnContentsAfterAPrefetch) {
    harness->copyTextElsewhere("theirs");
    pasteboard.prefetch();
    pasteboard.clearContents();
    pasteboard.setString("own");
    EXPECT_EQ(pasteboard.string(), "own");
    pasteboard.prefetch();
    EXPECT_EQ(harness->textElsewhere(), "own");
    pasteboard.dropPrefetch();
    EXPECT_EQ(pasteboard.string(), "own");
}

TEST_P(PasteboardContract, ReadsTheTextOfOtherPrograms) {
    for (const std::string text : {"plain", "", "na\xc3\xafve \xf0\x9f\x91\x8d\n\t"}) {
        harness->copyTextElsewhere(text);
        EXPECT_EQ(pasteboard.string(), text);
    }
}

TEST_P(PasteboardContract, HasNoTextAfterACopiedPicture) {
    harness->copyElsewhere(form("image/png", "\x89PNG"));
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    const auto items = pasteboard.items();
    ASSERT_TRUE(items && items->size() == 1);
    EXPECT_EQ(items->front().representations, std::vector{form("image/png", "\x89PNG")});
}

TEST_P(PasteboardContract, OffersItsTextToOtherProgramsAndToItself) {
    for (const std::string text : {"first", "", "second \xe2\x82\xac", "third\nline"}) {
        pasteboard.clearContents();
        pasteboard.setString(text);
        EXPECT_EQ(harness->textElsewhere(), text);
        EXPECT_EQ(pasteboard.string(), text);
    }
}

TEST_P(PasteboardContract, ReplacesTheContentsOfOtherPrograms) {
    harness->copyElsewhere(form("text/html", "<b>old</b>"));
    pasteboard.clearContents();
    pasteboard.setString("new");
    EXPECT_EQ(harness->textElsewhere(), "new");
    EXPECT_EQ(harness->dataElsewhere("text/html"), std::nullopt);
}

TEST_P(PasteboardContract, IsReplacedByWhatOtherProgramsCopy) {
    pasteboard.clearContents();
    pasteboard.setString("own");
    harness->copyTextElsewhere("theirs");
    EXPECT_EQ(pasteboard.string(), "theirs");
    EXPECT_EQ(harness->textElsewhere(), "theirs");
}

TEST_P(PasteboardContract, EmptiesThePasteboard) {
    harness->copyTextElsewhere("text");
    pasteboard.clearContents();
    EXPECT_EQ(harness->textElsewhere(), std::nullopt);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    const auto items = pasteboard.items();
    ASSERT_TRUE(items.has_value());
    EXPECT_TRUE(items->empty());
}

TEST_P(PasteboardContract, NoticesThatAnotherProgramEmptiedIt) {
    pasteboard.clearContents();
    pasteboard.setString("own");
    const auto before = pasteboard.changeCount();
    harness->clearElsewhere();
    EXPECT_GT(pasteboard.changeCount(), before);
    EXPECT_EQ(pasteboard.string(), std::nullopt);
}

TEST_P(PasteboardContract, WritesEveryFormOfEveryItem) {
    const std::vector<platform::PasteboardItem> items = {
        {{form("text/html", "<b>bold</b>"), form("application/x-own", std::string("\0\1\2", 3)),
          form("numbers", "12345678", 32, "INTEGER"), form("short", "1234", 16, "CARDINAL")}},
        {{form("text/uri-list", "file:///tmp/a%20b\r\n")}}};
    pasteboard.clearContents();
    pasteboard.writeItems(items);

    EXPECT_EQ(pasteboard.items(), items);
    for (const auto& item : items) {
        for (const auto& each : item.representations)
            EXPECT_EQ(harness->dataElsewhere(each.type), each.data) << each.type;
    }
}

TEST_P(PasteboardContract, RestoresWhatOtherProgramsCopied) {
    harness->copyElsewhere(form("application/x-own", "contents", 32, "KIND"));
    auto saved = pasteboard.items();
    ASSERT_TRUE(saved && saved->size() == 1);
    pasteboard.clearContents();
    pasteboard.setString("in between");
    pasteboard.clearContents();
    pasteboard.writeItems(*saved);

    EXPECT_EQ(harness->dataElsewhere("application/x-own"), bytes("contents"));
    EXPECT_EQ(pasteboard.items(), saved);
}

TEST_P(PasteboardContract, ReturnsCopies) {
    pasteboard.clearContents();
    pasteboard.setString("text");
    auto items = pasteboard.items();
    ASSERT_TRUE(items && !items->empty());
    items->clear();
    EXPECT_EQ(pasteboard.string(), "text");
}

TEST_P(PasteboardContract, ReturnsNothingWhenTheSystemIsLost) {
    pasteboard.clearContents();
    pasteboard.setString("text");
    const auto count = pasteboard.changeCount();
    harness->breakSystem();

    EXPECT_TRUE(eventually(5, [this] { return !pasteboard.items().has_value(); }));
    EXPECT_EQ(pasteboard.string(), std::nullopt);
    // The end of the contents may count as a change.
    EXPECT_GE(pasteboard.changeCount(), count);
    pasteboard.clearContents();
    pasteboard.setString("nobody reads it");
    pasteboard.writeItems({{{form("any", "data")}}});
    EXPECT_EQ(pasteboard.items(), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(
    , PasteboardContract,
    testing::Values(PasteboardMaker{"Fake", [] { return std::make_unique<FakeHarness>(); }},
                    PasteboardMaker{"X11", [] { return std::make_unique<X11Harness>(); }}),
    [](const auto& info) { return info.param.name; });

} // namespace sonvale::tests
