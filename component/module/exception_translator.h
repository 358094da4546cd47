#pragma once

#include "module/error.h"

#include <memory>

namespace ATL {

/// The exception that components built on ATL throw; foreign code may send it through us.
class CAtlException
{
public:
    explicit CAtlException(HRESULT result) noexcept : m_hr(result) {}

    operator HRESULT() const noexcept { return m_hr; }

    HRESULT m_hr;
};

} // namespace ATL

namespace Mardu {

/// One link of the chain that names exceptions. Every link runs its successor inside its
/// own try block, so an exception is offered to the link nearest the tail first.
class ExceptionTranslatorBase
{
public:
    /// Takes ownership of next in place of any successor before it; the new successor.
    virtual ExceptionTranslatorBase* SetNext(std::unique_ptr<ExceptionTranslatorBase>& next) = 0;

    /// Puts item between this link and its successor; the inserted link.
    virtual ExceptionTranslatorBase* InsertAfter(std::unique_ptr<ExceptionTranslatorBase>& item) = 0;

    /// Rethrows the exception being handled and describes it in result if it or a
    /// successor knows it; else lets it out.
    virtual void Translate(HResultException& result) = 0;

    virtual ~ExceptionTranslatorBase() = default;
};

/// Knows exceptions of type E; F is a function pointer from const E& to HResultException.
template <class E, class F>
class ExceptionTranslator : public ExceptionTranslatorBase
{
public:
    explicit ExceptionTranslator(F function) : convert_(function) {}

    ExceptionTranslatorBase* SetNext(std::unique_ptr<ExceptionTranslatorBase>& successor) override
    {
        next_ = std::move(successor);
        return next_.get();
    }

    ExceptionTranslatorBase* InsertAfter(std::unique_ptr<ExceptionTranslatorBase>& item) override
    {
        item->SetNext(next_);
        return SetNext(item);
    }

    void Translate(HResultException& result) override
    {
        try {
            next_->Translate(result);
        } catch (const E& caught) {
            result = convert_(caught);
        }
    }

private:
    F convert_;
    std::unique_ptr<ExceptionTranslatorBase> next_;
};

/// The end of every chain: throws the exception being handled once more.
class ExceptionTranslatorTail : public ExceptionTranslatorBase
{
public:
    ExceptionTranslatorBase* SetNext(std::unique_ptr<ExceptionTranslatorBase>&) override { return nullptr; }

    ExceptionTranslatorBase* InsertAfter(std::unique_ptr<ExceptionTranslatorBase>&) override
    {
        return nullptr;
    }

    void Translate(HResultException&) override { throw; }
};

} // namespace Mardu
