#include "persistence/SecureDeletion.h"

#include "tests/fakes/FakeSecureRandom.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

namespace sonvale::persistence {

namespace {

namespace fs = std::filesystem;
using tests::contentOf;
using tests::writeFile;

class SecureDeletionTest : public testing::Test {
protected:
    fs::path file() const { return fs::path(root_.path()) / "sonvale_1.m4a"; }
    fs::path other() const { return fs::path(root_.path()) / "other"; }

    std::string given() {
        const auto bytes = random_.control().given();
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }

    tests::FakeSecureRandom random_;

private:
    tests::TemporaryDirectory root_;
};

} // namespace

TEST_F(SecureDeletionTest, OverwritesTheSameFileInPlaceAndRemovesIt) {
    const std::string voice(3'000'001, 'v');
    writeFile(file(), voice);
    // The second name keeps the overwritten file accessible.
    fs::create_hard_link(file(), other());

    secureDelete(file(), random_);

    EXPECT_FALSE(fs::exists(file()));
    EXPECT_EQ(contentOf(other()).size(), voice.size());
    EXPECT_EQ(contentOf(other()), given());
}

TEST_F(SecureDeletionTest, RemovesAnEmptyFileWithoutWriting) {
    writeFile(file(), "");
    secureDelete(file(), random_);
    EXPECT_FALSE(fs::exists(file()));
    EXPECT_TRUE(random_.control().requests().empty());
}

TEST_F(SecureDeletionTest, OverwritesASingleByte) {
    writeFile(file(), "v");
    fs::create_hard_link(file(), other());
    secureDelete(file(), random_);
    EXPECT_EQ(contentOf(other()), given());
    EXPECT_EQ(given().size(), 1U);
}

TEST_F(SecureDeletionTest, ThrowsTheSystemsErrorForAMissingFile) {
    try {
        secureDelete(file(), random_);
        FAIL();
    } catch (const fs::filesystem_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_EQ(error.path1(), file());
    }
}

TEST_F(SecureDeletionTest, KeepsTheFileUnchangedIfTheRandomSourceFails) {
    writeFile(file(), "voice");
    random_.control().failWith(EIO);
    try {
        secureDelete(file(), random_);
        FAIL();
    } catch (const SecureMemoryError& error) {
        EXPECT_EQ(error.errorCase(), SecureMemoryError::Case::randomBytesGenerationFailed);
        EXPECT_EQ(error.number(), EIO);
        EXPECT_EQ(error.errorDescription(), "SecRandomCopyBytes failed with status 5");
    }
    EXPECT_EQ(contentOf(file()), "voice");
}

TEST_F(SecureDeletionTest, RemovesALinkAndKeepsItsTarget) {
    writeFile(other(), "kept");
    fs::create_symlink(other(), file());
    secureDelete(file(), random_);
    EXPECT_FALSE(fs::exists(fs::symlink_status(file())));
    EXPECT_EQ(contentOf(other()), "kept");
}

TEST_F(SecureDeletionTest, RefusesAFolder) {
    fs::create_directory(file());
    EXPECT_THROW(secureDelete(file(), random_), fs::filesystem_error);
    EXPECT_TRUE(fs::is_directory(file()));
}

TEST_F(SecureDeletionTest, DoesNotWaitForAPipe) {
    ASSERT_EQ(::mkfifo(file().c_str(), 0600), 0);
    secureDelete(file(), random_);
    EXPECT_FALSE(fs::exists(fs::symlink_status(file())));
}

TEST_F(SecureDeletionTest, KeepsTheFileIfItCannotBeOverwritten) {
    writeFile(file(), std::string(5000, 'v'));
    const tests::FileSizeLimit limit(1000);
    EXPECT_THROW(secureDelete(file(), random_), fs::filesystem_error);
    EXPECT_TRUE(fs::exists(file()));
}

TEST(SecureMemoryError, DescribesEachCase) {
    EXPECT_EQ(SecureMemoryError(SecureMemoryError::Case::randomBytesGenerationFailed, -50).errorDescription(),
              "SecRandomCopyBytes failed with status -50");
    EXPECT_EQ(SecureMemoryError(SecureMemoryError::Case::mlockFailed, 12).errorDescription(),
              "mlock failed with errno 12");
}

} // namespace sonvale::persistence
