#include "farm/jobmonitor/JobIndex.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/stores/TempDirectory.h"

namespace Quillon::Farm {
namespace {

class JobIndexTest : public testing::Test {
protected:
    /// Jobs "1" to `count`: every second one of the creator "c", every third a child of "p", all of kind "k".
    static std::vector<IndexedJob> Jobs(std::int64_t first, std::int64_t last) {
        std::vector<IndexedJob> jobs;
        for (std::int64_t n = first; n <= last; ++n) {
            jobs.push_back({n, std::to_string(n), n % 2 == 0 ? "c" : "", n % 3 == 0 ? "p" : "", "k"});
        }
        return jobs;
    }
    static std::string Ids(const std::vector<IndexedJob>& jobs) {
        std::string ids;
        for (const IndexedJob& job : jobs) {
            ids += (ids.empty() ? "" : " ") + job.id;
        }
        return ids;
    }

    const TempDirectory directory;
    const std::string path = directory.File("index");
};

TEST_F(JobIndexTest, WalksAKindOldestFirstWhileJobsComeAndGo) {
    JobIndex index(path);
    index.Add(Jobs(1, 6), {6, "e6"});
    EXPECT_EQ(Ids(index.OfKind("k", 0, 2)), "1 2");
    index.Add(Jobs(7, 7), {7, "e7"});
    EXPECT_EQ(Ids(index.OfKind("k", 2, 2)), "3 4");
    EXPECT_EQ(index.CountOfKind("k"), 7);
    index.Remove({"1", "5", "not there"});
    EXPECT_EQ(Ids(index.OfKind("k", 4, 2)), "7") << "offsets count the jobs that are there";
    EXPECT_EQ(Ids(index.OfKind("k", 2, 2)), "4 6");
    EXPECT_EQ(index.CountOfKind("k"), 5);
    EXPECT_EQ(Ids(index.OfKind("other", 0, 2)), "");
    EXPECT_EQ(index.CountOfKind("other"), 0);
}

TEST_F(JobIndexTest, KeepsJobsAndPositionAndTheFirstAnnouncement) {
    {
        JobIndex index(path);
        EXPECT_EQ(index.Position().offset, 0);
        index.Add(Jobs(1, 3), {3, "e3"});
        index.Add({{9, "2", "", "", "k"}}, {9, "e9"});
    }
    JobIndex index(path);
    EXPECT_EQ(index.Position().offset, 9);
    EXPECT_EQ(index.Position().eventId, "e9");
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 0, 9)), "3 2 1");
    EXPECT_EQ(index.CountOfKind("k"), 3);
    struct stat state {};
    ASSERT_EQ(::stat(path.c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777U, 0600U);

    index.Clear();
    EXPECT_EQ(index.Position().offset, 0);
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 0, 9)), "");
    EXPECT_EQ(index.CountOfKind("k"), 0);
}

TEST_F(JobIndexTest, BeginsAnewOnAFileThatItCannotUse) {
    std::ofstream(path) << "this is no database, and it is long enough to be taken for one";
    JobIndex index(path);
    index.Add(Jobs(1, 1), {1, "e1"});
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 0, 9)), "1");
}

TEST_F(JobIndexTest, PagesDoNotShiftWhileJobsCome) {
    JobIndex index(path);
    index.Add(Jobs(1, 4), {4, "e4"});
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 0, 2)), "4 3");
    index.Add(Jobs(5, 7), {7, "e7"});
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 2, 2)), "2 1");
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 0, 2)), "7 6") << "a list that is begun again";
    EXPECT_EQ(Ids(index.Newest({}, JobIndex::kNewest, 2, 2)), "5 4");
}

}  // namespace
}  // namespace Quillon::Farm
