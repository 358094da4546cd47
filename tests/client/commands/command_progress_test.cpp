#include "client/commands/commands.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/handle.h"
#include "client/foundation/utf16.h"
#include "client/images/published_image.h"
#include "client/images/shared_image.h"
#include "client/pictures/output_file.h"
#include "client/pictures/png_writer.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using namespace std::chrono_literals;

const Descriptor geometry = {40, 30, 8, Encoding::Unsigned, 0, 1, 40};

/// Commands on a picture and a section, with a clock by which all work is long.
class CommandProgressTest : public testing::Test
{
protected:
    CommandProgressTest() { std::filesystem::create_directory(folder_); }
    ~CommandProgressTest() override { std::filesystem::remove_all(folder_); }

    std::string Path(const char* name) const { return (folder_ / name).string(); }

    std::string Picture() const
    {
        const std::vector<std::uint8_t> pixels(40 * 30, 7);
        OutputFile file(ToUtf16(Path("in.png")));
        WritePng(geometry, *PngFormatOf(geometry.Type()), pixels.data(),
                 [&](auto bytes) { file.Write(bytes); });
        file.Commit();
        return Path("in.png");
    }

    /// What a terminal shows while the command runs.
    std::string TerminalOf(const std::vector<std::string>& arguments)
    {
        const Invocation invocation = ReadCommandLine(arguments, {commands, programManual, "1.2.3"}, 80);
        EXPECT_EQ(invocation.errors, "");
        std::string terminal;
        auto now = std::chrono::steady_clock::time_point{};
        invocation.action(Console(
            invocation.mode, [](std::string_view) {}, [&](std::string_view text) { terminal += text; },
            [&] { return now += 1s; }));
        return terminal;
    }

    std::vector<std::string> OfSection(const char* command) const
    {
        return {command, "--section", section_, "--descriptor", DescriptorText(geometry)};
    }

    void ExpectProgress(std::vector<std::string> arguments, const std::vector<const char*>& tasks)
    {
        const std::string terminal = TerminalOf(arguments);
        for (const char* task : tasks)
            EXPECT_NE(terminal.find(std::string("\r") + task + " 100 %"), std::string::npos) << terminal;
        EXPECT_TRUE(terminal.ends_with(" \r")) << "the line is wiped";
        for (const char* silencer : {"--quiet", "--json"}) {
            auto silent = arguments;
            silent.emplace_back(silencer);
            EXPECT_EQ(TerminalOf(silent), "");
        }
    }

private:
    const tavlo::apartment apartment_ = EnterApartment(COINIT_MULTITHREADED);
    const std::string id_ = std::to_string(GetCurrentProcessId());
    const std::string section_ = "tavlo-test-progress-" + id_;
    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / ("tavlo-test-" + id_);
    const Handle memory_{CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 40 * 30,
                                            ToUtf16(section_).c_str())};
};

TEST_F(CommandProgressTest, Info)
{
    ExpectProgress(OfSection("info"), {"reading"});
}

TEST_F(CommandProgressTest, Export)
{
    auto arguments = OfSection("export");
    arguments.push_back(Path("out.png"));
    ExpectProgress(arguments, {"writing"});
}

TEST_F(CommandProgressTest, Paint)
{
    ExpectProgress(OfSection("paint"), {"painting"});
}

TEST_F(CommandProgressTest, Recode)
{
    ExpectProgress({"recode", Picture(), Path("out.png"), "--to", "Unsigned,16"},
                   {"reading", "recoding", "writing"});
}

TEST_F(CommandProgressTest, Publish)
{
    // An input that has ended: publish waits for nothing.
    const HANDLE before = GetStdHandle(STD_INPUT_HANDLE);
    HANDLE ended = nullptr;
    HANDLE writing = nullptr;
    ASSERT_TRUE(CreatePipe(&ended, &writing, nullptr, 0));
    CloseHandle(writing);
    SetStdHandle(STD_INPUT_HANDLE, ended);
    const std::string picture = Picture();
    const std::string name = "tavlo-test-published-" + std::to_string(GetCurrentProcessId());
    ExpectProgress({"publish", picture, "--name", name}, {"reading"});
    ExpectProgress({"publish", picture, "--section", name}, {"reading"});
    SetStdHandle(STD_INPUT_HANDLE, before);
    CloseHandle(ended);
}

TEST_F(CommandProgressTest, List)
{
    const tavlo::image image = Create(geometry, Tavlo_SingleWriter);
    const Publication publication(*image.get(),
                                  L"tavlo-test-progress " + std::to_wstring(GetCurrentProcessId()));
    EXPECT_NE(TerminalOf({"list", "--patience", "60"}).find("\rasking "), std::string::npos);
    EXPECT_EQ(TerminalOf({"list", "--patience", "60", "--quiet"}), "");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
