#include "Core/src/SubmitOperations.h"

namespace Weftline {

namespace SubmitOperations {
namespace {

template <typename Key>
const Row* Find(std::string_view text, Key key) {
    const auto row = std::ranges::find(kAll, text, key);
    return text.empty() || row == kAll.end() ? nullptr : *row;
}

}  // namespace

const Row* FindByJobKind(std::string_view jobKind) {
    return Find(jobKind, &Row::jobKind);
}

const Row* FindByEvalTaskKind(std::string_view taskKind) {
    return Find(taskKind, &Row::evalTaskKind);
}

const Row* FindByMediaTaskKind(std::string_view taskKind) {
    return Find(taskKind, [](const Row* row) { return row->mediaTask.kind; });
}

}  // namespace SubmitOperations

namespace {

// Beside the tasks of the table: parts of a render and of a mixdown that workers may report on their own.
constexpr std::array kFurtherTasks{
    SubmitOperations::Task{"orvik.quillon.task.render.audio", "Audio precompute"},
    SubmitOperations::Task{"orvik.quillon.task.mixdown.video", "VideoMixdown"},
    SubmitOperations::Task{"orvik.quillon.task.mixdown.audio", "AudioMixdown"},
    SubmitOperations::Task{"orvik.quillon.task.mixdown.data", "DataMixdown"},
};

}  // namespace

std::string_view TaskDisplayName(std::string_view taskKind) {
    if (const SubmitOperations::Row* operation = SubmitOperations::FindByMediaTaskKind(taskKind)) {
        return operation->mediaTask.displayName;
    }
    const auto task = std::ranges::find(kFurtherTasks, taskKind, &SubmitOperations::Task::kind);
    return task == kFurtherTasks.end() ? std::string_view{} : task->displayName;
}

}  // namespace Weftline
