#include "client/command_line/progress.h"

#include <gtest/gtest.h>

#include <string>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using namespace std::chrono_literals;

class ProgressTest : public testing::Test
{
protected:
    Progress::Sink Sink()
    {
        return [this](std::string_view text) { written += text; };
    }
    Progress::Clock Clock()
    {
        return [this] { return now; };
    }

    std::string written;
    std::chrono::steady_clock::time_point now{};
};

TEST_F(ProgressTest, ShortWorkShowsNothing)
{
    {
        Progress progress(Sink(), Clock());
        now += 499ms;
        progress.Report("working", 1, 2);
    }
    EXPECT_EQ(written, "");
}

TEST_F(ProgressTest, LongWorkShowsWhatIsDone)
{
    Progress progress(Sink(), Clock());
    now += 500ms;
    progress.Report("working", 1, 3);
    EXPECT_EQ(written, "\rworking 33 %");
}

TEST_F(ProgressTest, WritesOnlyWhatChanges)
{
    Progress progress(Sink(), Clock());
    now += 1s;
    progress.Report("working", 100, 1000);
    progress.Report("working", 109, 1000);
    progress.Report("working", 110, 1000);
    EXPECT_EQ(written, "\rworking 10 %\rworking 11 %");
}

TEST_F(ProgressTest, AShorterLineCoversALongerOne)
{
    Progress progress(Sink(), Clock());
    now += 1s;
    progress.Report("recoding", 1, 1);
    progress.Report("writing", 0, 1);
    EXPECT_EQ(written, "\rrecoding 100 %\rwriting 0 %   ");
}

TEST_F(ProgressTest, TheLineIsWipedAtTheEnd)
{
    {
        Progress progress(Sink(), Clock());
        now += 1s;
        progress.Report("working", 1, 2);
        written.clear();
    }
    EXPECT_EQ(written, "\r            \r");
}

TEST_F(ProgressTest, AnEmptySinkShowsNothing)
{
    Progress progress({}, Clock());
    now += 1s;
    EXPECT_NO_THROW(progress.Report("working", 1, 2));
}

TEST_F(ProgressTest, ATaskIsReportedByItsParts)
{
    Progress progress(Sink(), Clock());
    const PartsDone rowsRead = progress.Of("reading");
    now += 1s;
    rowsRead(3, 4);
    EXPECT_EQ(written, "\rreading 75 %");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
