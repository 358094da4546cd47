#include "client/command_line/print.h"
#include "client/command_line/terminal.h"
#include "client/commands/commands.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/failure.h"
#include "client/foundation/utf16.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>

#include <algorithm>
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

ExitCode Fail(const std::exception& failure, HRESULT result, bool isJson)
{
    const std::string code = FAILED(result) ? ResultText(result) : std::string();
    std::fputs(ErrorText(std::string("tavlo: ") + failure.what(), code, isJson).c_str(), stderr);
    return Failed;
}

ExitCode Run(const Action& action, const OutputMode& mode)
{
    try {
        // Where every image and accessor is at home.
        const auto apartment = EnterApartment(COINIT_MULTITHREADED);
        action(Console(mode, Print, TerminalSink()));
        return Done;
    } catch (const Failure& failure) {
        return Fail(failure, failure.Result(), mode.isJson);
    } catch (const std::exception& failure) {
        return Fail(failure, S_OK, mode.isJson);
    }
}

ExitCode Main(std::span<wchar_t*> arguments)
{
    std::vector<std::string> texts;
    for (const wchar_t* argument : arguments)
        texts.push_back(ToUtf8(argument));
    const auto wrong = std::ranges::find_if_not(arguments, IsValidUtf16);
    if (wrong != arguments.end()) {
        const std::string error = "tavlo: the argument '" + ToUtf8(*wrong) + "' is not Unicode";
        std::fputs(ErrorText(error, {}, AsksForJson(texts)).c_str(), stderr);
        return WrongUsage;
    }
    const Invocation invocation =
        ReadCommandLine(texts, {commands, programManual, TAVLO_VERSION}, TerminalWidth());
    if (invocation.action)
        return Run(invocation.action, invocation.mode);
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
