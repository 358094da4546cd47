#include "client/images/image_options.h"

#include "client/command_line/option_parser.h"

#include <gtest/gtest.h>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// The image that a command with these options has for a command line.
ImageOptions ImageOptionsOf(std::vector<std::string> arguments, Naming naming = Naming::ByNameOrSection)
{
    const auto image = std::make_shared<ImageOptions>();
    Options ofProgram;
    Options ofCommand;
    AddImageOptions(ofCommand, image, naming);
    OptionParser parser(ofProgram);
    parser.AddCommand("command", ofCommand);
    arguments.insert(arguments.begin(), "command");
    parser.Parse(arguments);
    Settle(*image, naming);
    return *image;
}

std::string Complaint(const std::vector<std::string>& arguments, Naming naming = Naming::ByNameOrSection)
{
    try {
        ImageOptionsOf(arguments, naming);
    } catch (const UsageError& error) {
        return error.what();
    }
    return {};
}

const std::string descriptor = "4,3,8,unsigned,0,1,4";

TEST(ImageOptionsTest, AnArgumentAndTheOptionAreTheSameName)
{
    for (const Naming naming : {Naming::ByName, Naming::ByNameOrSection}) {
        EXPECT_EQ(ImageOptionsOf({"scan"}, naming).name, "scan");
        EXPECT_EQ(ImageOptionsOf({"--name", "scan"}, naming).name, "scan");
    }
}

TEST(ImageOptionsTest, ASectionComesWithItsDescriptor)
{
    const ImageOptions image = ImageOptionsOf({"--section", "s", "--descriptor", descriptor});
    EXPECT_EQ(image.name, "");
    EXPECT_EQ(image.section, "s");
    EXPECT_EQ(image.descriptor, (Descriptor{4, 3, 8, Encoding::Unsigned, 0, 1, 4}));
}

TEST(ImageOptionsTest, AnImageHasToBeNamed)
{
    EXPECT_EQ(Complaint({}), "NAME, or --section with --descriptor, is required");
    EXPECT_EQ(Complaint({}, Naming::ByName), "NAME is required");
    EXPECT_EQ(Complaint({"--section", "s"}), "--descriptor is required");
    EXPECT_EQ(Complaint({"--descriptor", descriptor}), "--section is required");
}

TEST(ImageOptionsTest, AnImageIsNamedInOneWay)
{
    EXPECT_EQ(Complaint({"scan", "--name", "scan"}), "NAME excludes --name");
    EXPECT_EQ(Complaint({"scan", "--section", "s", "--descriptor", descriptor}), "NAME excludes --section");
    EXPECT_EQ(Complaint({"scan", "--descriptor", descriptor}), "NAME excludes --descriptor");
    EXPECT_NE(Complaint({"--name", "scan", "--section", "s", "--descriptor", descriptor}), "");
    EXPECT_NE(Complaint({"--name", "scan", "--descriptor", descriptor}), "");
}

TEST(ImageOptionsTest, WhatIsNoNameIsRefused)
{
    EXPECT_EQ(Complaint({""}), "NAME: an image's name must not be empty");
    EXPECT_EQ(Complaint({"a\nb"}), "NAME: an image's name must not contain control characters");
    EXPECT_EQ(Complaint({"--name", ""}), "--name: an image's name must not be empty");
    EXPECT_EQ(Complaint({"--section", "", "--descriptor", descriptor}),
              "--section: a section's name must not be empty");
}

TEST(ImageOptionsTest, ANameAloneIsAskedForWhereASectionTellsNothing)
{
    EXPECT_NE(Complaint({"--section", "s", "--descriptor", descriptor}, Naming::ByName), "");
}

TEST(ImageOptionsTest, JsonHasOneOfTheTwo)
{
    EXPECT_EQ(JsonLine(JsonOf(ImageOptionsOf({"scan"}))), "{\"name\":\"scan\",\"section\":null}\n");
    EXPECT_EQ(JsonLine(JsonOf(ImageOptionsOf({"--section", "s", "--descriptor", descriptor}))),
              "{\"name\":null,\"section\":\"s\"}\n");
}

} // namespace
} // namespace Mardu::Sentel::Tavlo::Client
