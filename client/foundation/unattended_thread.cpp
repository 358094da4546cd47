#include "client/foundation/unattended_thread.h"

#include "client/foundation/failure.h"
#include "client/foundation/handle.h"

#include <memory>

namespace Mardu::Sentel::Tavlo::Client {
namespace {

using Work = std::function<void()>;

DWORD WINAPI Run(void* work) noexcept
{
    const std::unique_ptr<Work> owner(static_cast<Work*>(work));
    (*owner)();
    return 0;
}

} // namespace

void RunUnattended(Work work, std::string_view purpose)
{
    auto owner = std::make_unique<Work>(std::move(work));
    const Handle thread(CreateThread(nullptr, 0, Run, owner.get(), 0, nullptr));
    if (!thread)
        ThrowLastError(purpose);
    owner.release(); // the thread's
}

} // namespace Mardu::Sentel::Tavlo::Client
