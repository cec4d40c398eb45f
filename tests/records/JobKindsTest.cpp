#include "JobKinds.h"

#include <gtest/gtest.h>

#include <set>
#include <string_view>

namespace Weftline {
namespace {

TEST(TaskDisplayName, MatchesTheWholeTextOfATaskThatWorkersRun) {
    struct Row {
        std::string_view taskKind;
        std::string_view displayName;
    };
    constexpr Row kRows[] = {
        {"orvik.quillon.task.transcode", "Transcode"},
        {"orvik.quillon.task.consolidate", "Consolidate"},
        {"orvik.quillon.task.render.video", "Video precompute"},
        {"orvik.quillon.task.render.audio", "Audio precompute"},
        {"orvik.quillon.task.mixdown", "Mixdown"},
        {"orvik.quillon.task.mixdown.video", "VideoMixdown"},
        {"orvik.quillon.task.mixdown.audio", "AudioMixdown"},
        {"orvik.quillon.task.mixdown.data", "DataMixdown"},
        {"orvik.quillon.task.export", "Export"},
        {"orvik.quillon.task.dataextract", "DataExtract"},
        {"orvik.quillon.task.proxycreation", "ProxyCreation"},
        {"orvik.quillon.task.metadata.transcode", ""},
        {"orvik.quillon.task.render", ""},
        {"orvik.quillon.task.mixdown.", ""},
        {"orvik.quillon.task.Transcode", ""},
        {"orvik.quillon.transcode", ""},
        {"", ""},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(TaskDisplayName(row.taskKind), row.displayName) << row.taskKind;
    }
}

TEST(SubmitOperations, AreFifteenThatNothingConfuses) {
    std::set<std::string_view> jobKinds;
    std::set<std::string_view> evalTaskKinds;
    std::set<std::string_view> names;
    std::set<std::string_view> carryOnAfterAFailedTask;
    for (const auto& row : SubmitOperations::kAll) {
        jobKinds.insert(row.jobKind);
        evalTaskKinds.insert(row.evalTaskKind);
        names.insert(row.name);
        if (!row.failJobDefault) {
            carryOnAfterAFailedTask.insert(row.name);
        }
        EXPECT_EQ(TaskDisplayName(row.evalTaskKind), "") << row.name;
    }
    EXPECT_EQ(jobKinds.size(), 15U);
    EXPECT_EQ(evalTaskKinds.size(), 15U);
    EXPECT_EQ(names.size(), 15U);
    EXPECT_EQ(carryOnAfterAFailedTask, std::set<std::string_view>{"ProxyCreation"});
    EXPECT_EQ(SubmitOperations::kMixdown.evalTaskKind, "orvik.quillon.task.metadata.eval.mixdown");
    EXPECT_EQ(SubmitOperations::kExportQuery.evalTaskKind, "orvik.quillon.task.metadata.query.exporttypes");
}

}  // namespace
}  // namespace Weftline
