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

}  // namespace
}  // namespace Quillon::Farm
