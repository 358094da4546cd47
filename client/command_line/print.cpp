#include "client/command_line/print.h"

#include "client/foundation/failure.h"

#include <cstdio>

namespace Mardu::Sentel::Tavlo::Client {

void Print(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        ThrowError(ERROR_WRITE_FAULT, "write to the standard output");
}

} // namespace Mardu::Sentel::Tavlo::Client
