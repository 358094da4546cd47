#include "client/commands.h"
#include "client/common_library.h"
#include "client/text.h"

#include <CLI/CLI.hpp>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct CommonOptions
{
    std::string file;
    bool isForUser = false;
    bool isRemoval = false;
};

void RegisterCommon(const CommonOptions& options, const Console& console)
{
    const std::wstring file = options.file.empty() ? ProgramFolder() + commonLibraryFile : Wide(options.file);
    if (options.isRemoval)
        UnregisterCommonLibrary(file, options.isForUser, console);
    else
        RegisterCommonLibrary(file, options.isForUser, console);
}

} // namespace

Action SetUpRegisterCommon(CLI::App& options)
{
    const auto target = std::make_shared<CommonOptions>();
    options.add_option("FILE", target->file,
                       "The library; SentelCommon.tlb beside this program when left out");
    options.add_flag("--user", target->isForUser, "For this user only, which needs no administrator rights");
    options.add_flag("--unregister", target->isRemoval, "Remove the registration");
    return [target](const Console& console) { RegisterCommon(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
