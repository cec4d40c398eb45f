#pragma once

#include <string_view>

namespace Quillon::Farm {

/// How far the farm is with a job: a media job is evaluated first, every other job is one task.
enum class Stage { Evaluation, Work };

/// One task of a job.
struct TaskStep {
    std::string_view service;   ///< of the workers who can do it
    std::string_view taskKind;  ///< as these workers know it
};

/// What the farm does for jobs of a kind.
struct TaskPlan {
    std::string_view jobKind;
    TaskStep evaluation;  ///< without a service where there is none
    TaskStep work;

    bool HasEvaluation() const { return !evaluation.service.empty(); }
    const TaskStep& StepOf(Stage stage) const { return stage == Stage::Evaluation ? evaluation : work; }
};

/// The plan for a kind, which lives as long as the program; null for a kind that the farm does not know.
const TaskPlan* FindTaskPlan(std::string_view jobKind);

}  // namespace Quillon::Farm
