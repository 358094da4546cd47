#pragma once

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

/// What a process takes, in the course of a soak.
class Resources
{
public:
    Resources(std::string name, HANDLE process) : name_(std::move(name)), process_(process) {}

    void Sample();

    /// Prints a line; true unless even the least of the last quarter is more than the most
    /// of the first half after the first tenth, and a little.
    bool Report() const;

private:
    struct Sampled
    {
        DWORD handles;
        std::size_t bytes; ///< private to the process
    };

    std::string name_;
    HANDLE process_;
    std::vector<Sampled> samples_;
};
