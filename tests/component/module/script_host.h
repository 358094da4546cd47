#pragma once

#include "tests/component/shared/updates/updates_test.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// A variant that cleans up after itself.
class Variant
{
public:
    Variant() { VariantInit(&value_); }
    Variant(long number);
    Variant(int number) : Variant(static_cast<long>(number)) {}
    Variant(double number);
    Variant(const wchar_t* text);
    Variant(IDispatch* object);
    Variant(IUnknown* object);
    Variant(const Variant& other);
    Variant(Variant&& other) noexcept : Variant() { std::swap(value_, other.value_); }
    Variant& operator=(Variant other) noexcept;
    ~Variant() { VariantClear(&value_); }

    /// What a script passes for an argument that it leaves out.
    static Variant Missing();

    /// A copy of what somebody else's variant holds.
    static Variant CopyOf(const VARIANT& value);

    VARIANT* Place() { return &value_; }
    const VARIANT& Get() const { return value_; }
    VARTYPE Type() const { return value_.vt; }

    /// The value as a number; fails the test when it is none.
    double Number() const;

    /// The object that it holds; null when there is none.
    ComPtr<IDispatch> Object() const;

private:
    VARIANT value_;
};

/// How a late-bound call ended: what a script finds in its result or in Err.
struct Outcome
{
    HRESULT hr = S_OK; ///< DISP_E_EXCEPTION when the method itself failed
    HRESULT code = S_OK;
    std::wstring description;
    std::wstring source;
    Variant result;

    double Number() const { return result.Number(); }
};

/// An object as a script engine uses it: every member is looked up by its name and then
/// invoked.
class ScriptObject
{
public:
    /// As CreateObject does.
    explicit ScriptObject(const wchar_t* programId);
    explicit ScriptObject(ComPtr<IDispatch> object) : object_(std::move(object)) {}

    Outcome Call(const std::wstring& name, std::vector<Variant> arguments = {}) const;
    Outcome Get(const std::wstring& name, std::vector<Variant> arguments = {}) const;

    /// The value is the last argument.
    Outcome Put(const std::wstring& name, std::vector<Variant> arguments) const;

    /// By position: DISPID_VALUE is what a script means by object(x, y).
    Outcome Invoke(DISPID member, WORD flags, std::vector<Variant> arguments) const;

    /// The type name that a script asks for.
    std::wstring TypeName() const;

    IDispatch* Dispatch() const { return object_.Get(); }

private:
    Outcome InvokeByName(const std::wstring& name, WORD flags, std::vector<Variant> arguments) const;

    ComPtr<IDispatch> object_;
};

/// A script's event handlers, connected to an object's default source of events, which is
/// found through the object's type library, until they are destroyed.
class ScriptEvents
{
public:
    using EventHandler = std::function<void(const std::vector<Variant>& arguments)>;

    ScriptEvents(const ScriptObject& source, std::map<std::wstring, EventHandler> handlers);
    ~ScriptEvents();
    ScriptEvents(const ScriptEvents&) = delete;
    ScriptEvents& operator=(const ScriptEvents&) = delete;

private:
    ComPtr<IConnectionPoint> point_;
    DWORD cookie_ = 0;
};
