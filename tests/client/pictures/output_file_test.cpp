#include "client/pictures/output_file.h"

#include "client/foundation/failure.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

constexpr std::uint8_t text[] = {'n', 'e', 'w'};

class OutputFileTest : public testing::Test
{
protected:
    OutputFileTest()
        : folder_(std::filesystem::temp_directory_path() /
                  (L"tavlo-output-" + std::to_wstring(GetCurrentProcessId())))
    {
        std::filesystem::create_directory(folder_);
    }
    ~OutputFileTest() override { std::filesystem::remove_all(folder_); }

    std::filesystem::path Path() const { return folder_ / L"größe.png"; }

    std::string Content() const
    {
        std::ifstream file(Path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::ptrdiff_t Files() const { return std::distance(std::filesystem::directory_iterator(folder_), {}); }

private:
    std::filesystem::path folder_;
};

TEST_F(OutputFileTest, ReplacesAnExistingFileInCommit)
{
    std::ofstream(Path()) << "old";
    OutputFile file(Path().wstring());
    file.Write(text);
    EXPECT_EQ(Content(), "old");
    file.Commit();
    EXPECT_EQ(Content(), "new");
    EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFileTest, LeavesNothingBehindWithoutCommit)
{
    {
        OutputFile file(Path().wstring());
        file.Write(text);
    }
    EXPECT_EQ(Files(), 0);
}

TEST_F(OutputFileTest, LeavesNothingBehindWhenItsPlaceIsTaken)
{
    std::filesystem::create_directory(Path());
    {
        OutputFile file(Path().wstring());
        file.Write(text);
        EXPECT_THROW(file.Commit(), Failure);
    }
    EXPECT_EQ(Files(), 1);
}

TEST_F(OutputFileTest, NeedsAnExistingFolder)
{
    try {
        OutputFile file((Path() / L"x.png").wstring());
        FAIL() << "was accepted";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Result(), HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND));
    }
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
