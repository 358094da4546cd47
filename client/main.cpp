#include "client/apartment.h"
#include "client/commands.h"
#include "client/text.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// Lets the console show UTF-8 for as long as the program runs.
class Utf8Console
{
public:
    Utf8Console() : before_(GetConsoleOutputCP())
    {
        SetConsoleOutputCP(CP_UTF8);
        _setmode(_fileno(stdout), _O_BINARY);
        _setmode(_fileno(stderr), _O_BINARY);
    }
    ~Utf8Console()
    {
        std::fflush(nullptr);
        SetConsoleOutputCP(before_);
    }
    Utf8Console(const Utf8Console&) = delete;
    Utf8Console& operator=(const Utf8Console&) = delete;

private:
    UINT before_;
};

ExitCode Run(const Action& action)
{
    try {
        // Where every image and accessor is at home.
        const Apartment apartment(COINIT_MULTITHREADED);
        action();
        return Done;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "tavlo: %s\n", failure.what());
        return Failed;
    }
}

ExitCode Main(std::span<wchar_t*> arguments)
{
    std::vector<std::string> texts;
    for (const wchar_t* argument : arguments) {
        if (!IsUnicode(argument)) {
            std::fprintf(stderr, "tavlo: the argument '%s' is not Unicode\n", Utf8(argument).c_str());
            return WrongUsage;
        }
        texts.push_back(Utf8(argument));
    }
    const Invocation invocation = ReadCommandLine(texts, commands, TAVLO_VERSION);
    if (invocation.action)
        return Run(invocation.action);
    std::fputs(invocation.errors.c_str(), stderr);
    std::fputs(invocation.output.c_str(), stdout);
    return invocation.exitCode;
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client

int wmain(int count, wchar_t** arguments)
{
    const Mardu::Sentel::Tavlo::Client::Utf8Console console;
    return Mardu::Sentel::Tavlo::Client::Main(
        std::span(arguments, static_cast<std::size_t>(count)).subspan(1));
}
