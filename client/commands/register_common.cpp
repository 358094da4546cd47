#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/foundation/utf16.h"
#include "client/registration/common_library.h"

#include <memory>

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
    const std::wstring file =
        options.file.empty() ? ProgramFolder() + commonLibraryFile : ToUtf16(options.file);
    if (options.isRemoval)
        UnregisterCommonLibrary(file, OtherLibrary::Replace, options.isForUser, console);
    else
        RegisterCommonLibrary(file, OtherLibrary::Replace, options.isForUser, console);
}

} // namespace

Action SetUpRegisterCommon(Options& options)
{
    const auto target = std::make_shared<CommonOptions>();
    options.Add({.name = "FILE",
                 .form = {},
                 .help = "The library; SentelCommon.tlb beside this program when left out",
                 .read = StoreIn(target->file)});
    options.AddFlag("--user", target->isForUser, "For this user only, which needs no administrator rights");
    options.AddFlag("--unregister", target->isRemoval, "Remove the registration");
    return [target](const Console& console) { RegisterCommon(*target, console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
