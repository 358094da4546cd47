#pragma once

#include "conversions/contest.h"
#include "conversions/memory.h"

#include <functional>
#include <string>
#include <vector>

namespace Bench {

/// A row of the table: a piece of work that can be set up at any size.
struct Row
{
    std::string work;
    std::function<Contest(Memory&)> make;
    bool anySize = true; ///< false: the work does not depend on an image's size
};

std::vector<Row> TableRows();
std::vector<Row> FillingRows();
std::vector<Row> ComputedRows();
std::vector<Row> ColorRows();
std::vector<Row> CopyRows();

} // namespace Bench
