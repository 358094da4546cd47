#pragma once

#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// What is wrong with a command line, as users read it.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Something that is required was left out.
class MissingError : public UsageError
{
public:
    using UsageError::UsageError;
};

/// "NAME is required".
MissingError Missing(const std::string& name);

/// "NAME excludes --name".
UsageError Excluding(const std::string& name, const std::string& other);

/// "--rect: R must be greater than L".
UsageError WrongValue(const std::string& name, const std::string& why);

/// One option or argument of a command, as the command declares it.
struct Option
{
    std::string name; ///< "--rect", "-q,--quiet"; "NAME" for an argument, which has no dashes
    std::string form; ///< of the text behind an option: "L,T,R,B"; empty for flags and arguments
    std::string help;

    /// Takes the text, and throws std::invalid_argument when that is wrong. Empty for a flag.
    std::function<void(const std::string& text)> read = {};

    /// Says why a text is wrong before it is read; empty when it is right.
    std::function<std::string(const std::string& text)> whyNot = {};

    /// The only texts that there are; empty for any.
    std::vector<std::string> words = {};
    bool isCaseIgnored = false; ///< when a text is compared with words; it is read as it was typed

    bool isRequired = false;
    bool isRepeatable = false;
    std::vector<const Option*> excluded = {};

    /// What a flag sets; null for what has a text.
    bool* flag = nullptr;

    /// Set while the command line is read.
    bool isGiven = false;

    bool IsArgument() const noexcept { return !name.starts_with('-'); }
};

/// The options and arguments of one command, or of the program.
class Options
{
public:
    /// The option stays where it is.
    Option& Add(Option option) { return all_.emplace_back(std::move(option)); }

    Option& AddFlag(std::string name, bool& target, std::string help);

    /// Runs once all options are read; a UsageError refuses what they are together.
    void AfterReading(std::function<void()> check) { check_ = std::move(check); }

    std::deque<Option>& All() noexcept { return all_; }
    const std::deque<Option>& All() const noexcept { return all_; }
    const std::function<void()>& Check() const noexcept { return check_; }

private:
    std::deque<Option> all_;
    std::function<void()> check_;
};

/// For Option::read: keeps the text as it is. target outlives the reading.
std::function<void(const std::string&)> StoreIn(std::string& target);

/// For Option::read: hands what parse makes of a text to store.
template <class Parse, class Store>
std::function<void(const std::string&)> Parsed(Parse parse, Store store)
{
    return [=](const std::string& text) { store(parse(text)); };
}

/// For Option::words: the keys of a map.
template <class Map>
std::vector<std::string> WordsOf(const Map& map)
{
    std::vector<std::string> words;
    for (const auto& [word, meaning] : map)
        words.push_back(word);
    return words;
}

} // namespace Mardu::Sentel::Tavlo::Client
