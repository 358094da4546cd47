#pragma once

#include "module/automation.h"
#include "module/object.h"

#include "SentelCommon.h"

#include <atomic>

namespace Mardu::Sentel::Common {

/// A rectangle as an object for script clients: four edges, read and written one by one,
/// without any order among them. Both interfaces reach the same edges.
template <class Interface>
class CRectangleIntImpl final : public ComObject<Automation<Interface, TypeLibrary::SentelCommon>,
                                                 Automation<IRectangleInt, TypeLibrary::SentelCommon>>
{
public:
    CRectangleIntImpl() = default;
    CRectangleIntImpl(long left, long top, long right, long bottom)
        : left_(left), top_(top), right_(right), bottom_(bottom)
    {
    }

    STDMETHODIMP get_Left(long* pLeft) override { return Get(left_, pLeft); }
    STDMETHODIMP put_Left(long left) override { return Put(left_, left); }
    STDMETHODIMP get_Top(long* pTop) override { return Get(top_, pTop); }
    STDMETHODIMP put_Top(long top) override { return Put(top_, top); }
    STDMETHODIMP get_Right(long* pRight) override { return Get(right_, pRight); }
    STDMETHODIMP put_Right(long right) override { return Put(right_, right); }
    STDMETHODIMP get_Bottom(long* pBottom) override { return Get(bottom_, pBottom); }
    STDMETHODIMP put_Bottom(long bottom) override { return Put(bottom_, bottom); }

private:
    using Edge = std::atomic<long>;

    static HRESULT Get(const Edge& edge, long* pValue) noexcept
    {
        if (pValue == nullptr)
            return E_POINTER;
        *pValue = edge;
        return S_OK;
    }

    static HRESULT Put(Edge& edge, long value) noexcept
    {
        edge = value;
        return S_OK;
    }

    Edge left_ = 0;
    Edge top_ = 0;
    Edge right_ = 0;
    Edge bottom_ = 0;
};

/// Makes a rectangle object of these edges and returns the interface asked for.
HRESULT CreateRectangle(long left, long top, long right, long bottom, REFIID iid, void** result) noexcept;

} // namespace Mardu::Sentel::Common
