#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

// What happened in which order, written down by stand-ins of any thread.

struct NotedSteps
{
    static inline std::mutex mutex;
    static inline std::vector<std::string> steps;
};

inline void NoteStep(std::string step)
{
    const std::lock_guard lock(NotedSteps::mutex);
    NotedSteps::steps.push_back(std::move(step));
}

/// All steps since the last call.
inline std::vector<std::string> TakeSteps()
{
    const std::lock_guard lock(NotedSteps::mutex);
    return std::exchange(NotedSteps::steps, {});
}
