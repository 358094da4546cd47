#include "client/commands/commands.h"

#include "client/command_line/options.h"
#include "client/commands/result_json.h"
#include "client/foundation/component_errors.h"
#include "client/foundation/text_parsing.h"
#include "client/foundation/unattended_thread.h"
#include "client/foundation/utf16.h"
#include "client/images/published_image.h"
#include "client/images/shared_image.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// What asking an image for its geometry has come to.
struct Answer
{
    std::optional<Descriptor> descriptor;
    std::string failure;
    std::string code; ///< the failure's HRESULT as text, when it has one

    bool IsThere() const noexcept { return descriptor || !failure.empty(); }
};

Answer Ask(const std::wstring& name)
{
    try {
        const auto apartment = EnterApartment(COINIT_MULTITHREADED);
        return {GeometryOf(*BindImage(name).get()), {}, {}};
    } catch (const Failure& failure) {
        return {{}, failure.what(), ResultText(failure.Result())};
    } catch (const std::exception& failure) {
        return {{}, failure.what(), {}};
    }
}

/// Asks every image at once. A process that does not answer, because it is stopped or
/// hangs, costs its own image's answer only: whoever asked it is left behind.
class Questions
{
public:
    explicit Questions(const std::vector<PublishedImage>& images) : state_(std::make_shared<State>())
    {
        state_->answers.resize(images.size());
        for (std::size_t i = 0; i < images.size(); ++i) {
            const auto ask = [state = state_, name = images[i].name, i] {
                Answer answer = Ask(name);
                const std::lock_guard lock(state->mutex);
                state->answers[i] = std::move(answer);
                ++state->count;
                state->came.notify_all();
            };
            RunUnattended(ask, "ask an image for its geometry");
        }
    }

    /// The answers that come within this time.
    std::vector<Answer> Answers(std::chrono::milliseconds patience, const PartsDone& answersCame)
    {
        constexpr std::chrono::milliseconds glance(100);
        const auto end = std::chrono::steady_clock::now() + patience;
        std::unique_lock lock(state_->mutex);
        const std::size_t all = state_->answers.size();
        const auto areAllThere = [&] { return state_->count == all; };
        while (all > 0) {
            answersCame(static_cast<std::int64_t>(state_->count), static_cast<std::int64_t>(all));
            const auto now = std::chrono::steady_clock::now();
            if (areAllThere() || now >= end)
                break;
            state_->came.wait_until(lock, std::min(end, now + glance), areAllThere);
        }
        return state_->answers;
    }

private:
    struct State
    {
        std::mutex mutex;
        std::condition_variable came;
        std::vector<Answer> answers;
        std::size_t count = 0;
    };

    std::shared_ptr<State> state_;
};

constexpr const char* silence = "does not answer";

std::string Line(const PublishedImage& image, const Answer& answer)
{
    const std::string state = answer.descriptor ? std::to_string(answer.descriptor->width) + " x " +
                                                      std::to_string(answer.descriptor->height) + ", " +
                                                      PixelTypeText(answer.descriptor->Type())
                              : answer.IsThere() ? answer.failure
                                                 : silence;
    const std::string process =
        image.process == 0 ? "process unknown" : "process " + std::to_string(image.process);
    return ToUtf8(image.name) + ": " + state + ", " + process + "\n";
}

Json Entry(const PublishedImage& image, const Answer& answer)
{
    Json entry = {{"name", ToUtf8(image.name)}, {"process", nullptr}, {"geometry", nullptr}};
    if (image.process != 0)
        entry["process"] = image.process;
    if (answer.descriptor)
        entry["geometry"] = JsonOf(*answer.descriptor);
    entry["error"] = TextOrNull(answer.IsThere() ? answer.failure : silence);
    entry["code"] = TextOrNull(answer.code);
    return entry;
}

void List(std::chrono::seconds patience, const Console& console)
{
    const std::vector<PublishedImage> images = PublishedImages();
    std::vector<Answer> answers;
    {
        Progress progress = console.ShowProgress();
        answers = Questions(images).Answers(patience, progress.Of("asking"));
    }
    std::string text;
    Json::Array entries;
    for (std::size_t i = 0; i < images.size(); ++i) {
        text += Line(images[i], answers[i]);
        entries.push_back(Entry(images[i], answers[i]));
    }
    console.Result(text, {{"images", std::move(entries)}});
}

} // namespace

Action SetUpList(Options& options)
{
    const auto patience = std::make_shared<std::int32_t>(5);
    const auto parse = [](const std::string& text) { return ParseNumberFrom(0, "the patience", text); };
    options.Add({.name = "--patience",
                 .form = "SECONDS",
                 .help = "How long to wait for processes that do not answer; 5 when left out",
                 .read = Parsed(parse, [patience](std::int32_t seconds) { *patience = seconds; })});
    return [patience](const Console& console) { List(std::chrono::seconds(*patience), console); };
}

} // namespace Mardu::Sentel::Tavlo::Client
