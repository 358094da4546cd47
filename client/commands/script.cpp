#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/text_parsing.h"
#include "client/foundation/utf16.h"
#include "client/images/image_options.h"
#include "client/images/shared_image.h"
#include "client/script/host_object.h"
#include "client/script/script_host.h"
#include "client/script/script_source.h"

#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

struct ScriptOptions : ImageOptions
{
    std::string file;
    std::string language;
};

/// Languages as users write them, and their engines.
const std::map<std::string, const wchar_t*> languages = {{"vbscript", L"VBScript"}, {"jscript", L"JScript"}};

/// The language that a file's name says; empty when it says none.
std::string LanguageOf(const std::string& file)
{
    const std::string name = LowerCase(file);
    return name.ends_with(".vbs") ? "vbscript" : name.ends_with(".js") ? "jscript" : "";
}

/// A host that is closed whatever happens: it and its engine hold each other.
class ClosingHost
{
public:
    explicit ClosingHost(const wchar_t* language) : host_(new ScriptHost(language)) {}
    ~ClosingHost() { host_->Close(); }
    ClosingHost(const ClosingHost&) = delete;
    ClosingHost& operator=(const ClosingHost&) = delete;

    ScriptHost* operator->() const noexcept { return host_.get(); }
    ScriptHost& operator*() const noexcept { return *host_.get(); }

private:
    tavlo::com_ptr<ScriptHost> host_;
};

void RunScript(const ScriptOptions& options)
{
    const auto apartment = EnterApartment(COINIT_APARTMENTTHREADED);
    const std::wstring source = ReadScript(ToUtf16(options.file));
    const tavlo::image image = Open(options, Tavlo_MultipleWriters).image;
    const ClosingHost host(languages.at(options.language));
    host->Add(L"image", *image.get());
    const tavlo::com_ptr<HostObject> object(new HostObject(*host));
    host->Add(L"WScript", *object.get());
    host->Run(source);
    object->Close();
    if (host->Error())
        throw Failure::Saying(host->Error()->code,
                              "cannot run '" + options.file + "': " + host->Error()->Text());
    if (host->QuitCode().value_or(0) != 0)
        throw std::runtime_error("the script '" + options.file + "' quit with " +
                                 std::to_string(*host->QuitCode()));
}

/// Script engines want an apartment of their own, where events come between the
/// script's statements.
void RunInApartment(const ScriptOptions& options)
{
    std::exception_ptr failure;
    std::thread([&] {
        try {
            RunScript(options);
        } catch (const std::exception&) {
            failure = std::current_exception();
        }
    }).join();
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace

Action SetUpScript(Options& options)
{
    const auto target = std::make_shared<ScriptOptions>();
    options.Add({.name = "FILE",
                 .form = {},
                 .help = "A script, whose name ends in .vbs or .js",
                 .read = StoreIn(target->file),
                 .isRequired = true});
    AddImageOptions(options, target, Naming::ByNameOrSection, "NAME",
                    "Name under which the image is published that the script finds as 'image'");
    options.Add({.name = "--language",
                 .form = "LANGUAGE",
                 .help = "vbscript or jscript, whatever the file's name ends in",
                 .read = StoreIn(target->language),
                 .words = WordsOf(languages),
                 .isCaseIgnored = true});
    options.AfterReading([target] {
        Settle(*target, Naming::ByNameOrSection);
        target->language = target->language.empty() ? LanguageOf(target->file) : LowerCase(target->language);
        if (target->language.empty())
            throw Missing("--language, since FILE ends in neither .vbs nor .js,");
    });
    return [target](const Console&) { RunInApartment(*target); };
}

} // namespace Mardu::Sentel::Tavlo::Client
