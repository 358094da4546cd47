#pragma once

#include <CLI/CLI.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace Mardu::Sentel::Tavlo::Client {

/// Adds an option whose text is parsed by a function that throws std::invalid_argument.
template <class Parse, class Store>
CLI::Option* AddParsed(CLI::App& options, const std::string& name, const std::string& form,
                       const std::string& help, Parse parse, Store store)
{
    const auto read = [=](const std::vector<std::string>& texts) {
        try {
            for (const std::string& text : texts)
                store(parse(text));
        } catch (const std::invalid_argument& error) {
            throw CLI::ValidationError(name, error.what());
        }
    };
    return options.add_option_function<std::vector<std::string>>(name, read, help)
        ->type_name(form)
        ->expected(1)
        ->allow_extra_args(false); // what follows the text is no other text
}

} // namespace Mardu::Sentel::Tavlo::Client
