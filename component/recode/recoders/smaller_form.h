#pragma once

#include <memory>

namespace Mardu::Sentel::Tavlo {

/// Another form of a table, which is made when it serves first. Not every table has it.
template <class Form>
class SmallerForm
{
public:
    /// The table changes.
    void Clear() noexcept { state_ = State::unknown; }

    /// Null for a table without one. `build` makes one from the table, or returns false.
    template <class Build>
    const Form* Get(const Build& build)
    {
        if (state_ == State::unknown) {
            if (form_ == nullptr)
                form_ = std::make_unique<Form>();
            state_ = build(*form_) ? State::there : State::missing;
        }
        return state_ == State::there ? form_.get() : nullptr;
    }

private:
    enum class State
    {
        unknown,
        missing,
        there
    };

    State state_ = State::unknown;
    std::unique_ptr<Form> form_;
};

} // namespace Mardu::Sentel::Tavlo
