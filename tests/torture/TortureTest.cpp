#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "InMemory.h"
#include "KilledChild.h"
#include "Torture.h"
#include "support/TemporaryFolder.h"

// The photo library against everything that can happen to files, and against being killed between any two system calls.
namespace tessaly::test {
namespace {

std::string account(std::uint64_t seed, const std::string& loss, const Torture& torture) {
    std::string text = "seed " + std::to_string(seed) + ": " + loss + (torture.areAlike() ? ", photos alike\n" : "\n");
    for (const std::string& step : torture.steps()) text += "  " + step + "\n";
    return text;
}

/// Runs the seeds from `first` on. @return how many of them lost something.
std::size_t runSeeds(std::uint64_t first, std::size_t count, std::size_t mostAccounts) {
    const InMemory memory;
    const TemporaryFolder folder;
    std::size_t losses = 0;
    for (std::uint64_t seed = first; seed < first + count; ++seed) {
        Torture torture(folder.path().string(), seed);
        const std::string loss = torture.run();
        if (loss.empty()) continue;
        if (++losses <= mostAccounts) ADD_FAILURE() << account(seed, loss, torture);
    }
    return losses;
}

class TortureTest : public testing::Test {
protected:
    void SetUp() override {
        if (!canTraceChildren()) GTEST_SKIP() << "this system does not let a child be traced";
    }
};

/// Seeds that once lost something, and what it was. New ones are added as they are found.
TEST_F(TortureTest, NothingIsLostAgain) {
    const struct {
        std::uint64_t seed;
        const char* what;
    } known[] = {
        {9, "a revert overwrote what another editor had written"},
        {14, "the same, of every edited photo"},
        {18, "an edit kept no original of a photo that had taken the name"},
        {24, "a favorite went to another photo in a chain of names"},
        {28, "a photo's original was another photo's"},
        {8462, "an original was discarded while its edit waited for the folder"},
        {3787, "a favorite went to a file without a date, which was another photo that was missing"},
        {6143, "one of many photos alike was called edited under a name that was used again"},
        {6710, "a file that a replayed revert was making stayed in the person's folder"},
        {1009195, "a change that waited for a folder undid what came after it"},
        {1009219, "a change was given up because a card was out, and its file stayed behind"},
        {1427, "a kill in a discard left an edit without its original"},
    };
    for (const auto& [seed, what] : known) EXPECT_EQ(runSeeds(seed, 1, 1), 0U) << what;
}

TEST_F(TortureTest, NothingIsLost) { EXPECT_EQ(runSeeds(1, 25, 3), 0U); }

/// TESSALY_TORTURE="COUNT SEED" runs that many sequences; scripts/torture sets it.
TEST_F(TortureTest, AsLongAsAsked) {
    const char* wanted = std::getenv("TESSALY_TORTURE");
    if (!wanted) GTEST_SKIP() << "TESSALY_TORTURE is not set";
    char* rest = nullptr;
    const std::size_t count = std::strtoull(wanted, &rest, 10);
    const std::uint64_t first = *rest != '\0' ? std::strtoull(rest, nullptr, 10) : 1;
    constexpr std::size_t kMostAccounts = 10;
    const std::size_t losses = runSeeds(first, count, kMostAccounts);
    std::cout << count << " sequences from seed " << first << ": " << losses << " with a loss\n";
    EXPECT_EQ(losses, 0U);
}

}  // namespace
}  // namespace tessaly::test
