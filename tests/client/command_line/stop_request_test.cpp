#include "client/command_line/stop_request.h"

#include "client/foundation/handle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// The standard input is another one as long as this object lives.
class StandardInput
{
public:
    explicit StandardInput(HANDLE input) : before_(GetStdHandle(STD_INPUT_HANDLE))
    {
        SetStdHandle(STD_INPUT_HANDLE, input);
    }
    ~StandardInput() { SetStdHandle(STD_INPUT_HANDLE, before_); }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

private:
    HANDLE before_;
};

Handle Open(const wchar_t* path)
{
    const HANDLE opened = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return Handle(opened == INVALID_HANDLE_VALUE ? nullptr : opened);
}

struct Pipe
{
    Pipe()
    {
        HANDLE from = nullptr;
        HANDLE to = nullptr;
        CreatePipe(&from, &to, nullptr, 0);
        reading.reset(from);
        writing.reset(to);
    }
    Handle reading;
    Handle writing;
};

TEST(StopRequestTest, APipeTellsOfTheEnd)
{
    const Pipe pipe;
    EXPECT_TRUE(TellsOfTheEnd(pipe.reading.get()));
}

TEST(StopRequestTest, TheNullDeviceAFileAndNoInputTellNothing)
{
    EXPECT_FALSE(TellsOfTheEnd(Open(L"NUL").get()));
    const std::filesystem::path file = std::filesystem::temp_directory_path() /
                                       ("tavlo-test-input-" + std::to_string(GetCurrentProcessId()));
    std::ofstream(file) << "some text\n";
    EXPECT_FALSE(TellsOfTheEnd(Open(file.c_str()).get()));
    std::filesystem::remove(file);
    EXPECT_FALSE(TellsOfTheEnd(nullptr));
    EXPECT_FALSE(TellsOfTheEnd(INVALID_HANDLE_VALUE));
}

TEST(StopRequestTest, ComesWithTheEndOfAPipe)
{
    Pipe pipe;
    const StandardInput input(pipe.reading.get());
    const StopRequest stop;
    pipe.writing.reset();
    stop.Wait();
}

TEST(StopRequestTest, ComesWithEnter)
{
    const Pipe pipe;
    const StandardInput input(pipe.reading.get());
    const StopRequest stop;
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(pipe.writing.get(), "\r\n", 2, &written, nullptr));
    stop.Wait();
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
