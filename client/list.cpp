#include "client/apartment.h"
#include "client/commands.h"
#include "client/fields.h"
#include "client/parsed_option.h"
#include "client/print.h"
#include "client/published_image.h"
#include "client/shared_image.h"
#include "client/text.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

/// What asking an image for its geometry has come to.
struct Answer
{
    std::optional<Descriptor> descriptor;
    std::string failure;

    bool IsThere() const noexcept { return descriptor || !failure.empty(); }
};

Answer Ask(const std::wstring& name)
{
    try {
        const Apartment apartment(COINIT_MULTITHREADED);
        return {GeometryOf(*BindImage(name).get()), {}};
    } catch (const std::exception& failure) {
        return {{}, failure.what()};
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
            std::thread([state = state_, name = images[i].name, i] {
                Answer answer = Ask(name);
                const std::lock_guard lock(state->mutex);
                state->answers[i] = std::move(answer);
                ++state->count;
                state->came.notify_all();
            }).detach();
        }
    }

    /// The answers that come within this time.
    std::vector<Answer> Answers(std::chrono::milliseconds patience)
    {
        std::unique_lock lock(state_->mutex);
        state_->came.wait_for(lock, patience, [&] { return state_->count == state_->answers.size(); });
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

std::string Line(const PublishedImage& image, const Answer& answer)
{
    const std::string state = answer.descriptor ? std::to_string(answer.descriptor->width) + " x " +
                                                      std::to_string(answer.descriptor->height) + ", " +
                                                      PixelTypeText(answer.descriptor->Type())
                              : answer.IsThere() ? answer.failure
                                                 : "does not answer";
    const std::string process =
        image.process == 0 ? "process unknown" : "process " + std::to_string(image.process);
    return Utf8(image.name) + ": " + state + ", " + process + "\n";
}

void List(std::chrono::seconds patience)
{
    const std::vector<PublishedImage> images = PublishedImages();
    const std::vector<Answer> answers = Questions(images).Answers(patience);
    std::string text;
    for (std::size_t i = 0; i < images.size(); ++i)
        text += Line(images[i], answers[i]);
    Print(text);
}

} // namespace

Action SetUpList(CLI::App& options)
{
    const auto patience = std::make_shared<std::int32_t>(5);
    AddParsed(
        options, "--patience", "SECONDS",
        "How long to wait for processes that do not answer; 5 when left out",
        [](const std::string& text) { return ParseNumberFrom(0, "the patience", text); },
        [patience](std::int32_t seconds) { *patience = seconds; });
    return [patience] { List(std::chrono::seconds(*patience)); };
}

} // namespace Mardu::Sentel::Tavlo::Client
