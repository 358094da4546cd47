#pragma once

#include "client/command_line/options.h"

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// Reads the arguments of a program that has commands, each with options of its own.
class OptionParser
{
public:
    enum class Outcome
    {
        Read,
        HelpAskedFor,
        VersionAskedFor,
    };

    /// The program's own options have a flag for each of Outcome's questions besides.
    explicit OptionParser(Options& ofProgram);
    ~OptionParser();
    OptionParser(const OptionParser&) = delete;
    OptionParser& operator=(const OptionParser&) = delete;

    /// The options live as long as this object.
    void AddCommand(const std::string& name, Options& options);

    /// Fills what the options of the program and of one command are for. Throws UsageError.
    Outcome Parse(const std::vector<std::string>& arguments);

private:
    struct Library;

    std::unique_ptr<Library> library_;
};

inline constexpr std::string_view helpFlag = "-h,--help";
inline constexpr std::string_view versionFlag = "--version";

/// Whether the option is among the arguments before two dashes, which end the options.
bool HasOption(std::span<const std::string> arguments, std::string_view name);

/// The floating-point number that a text is.
std::optional<double> ReadNumber(const std::string& text);

} // namespace Mardu::Sentel::Tavlo::Client
