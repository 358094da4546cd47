#pragma once

#include "client/foundation/component_errors.h"

#include <optional>
#include <string>
#include <string_view>

namespace Mardu::Sentel::Tavlo::Client {

/// As long as this object lives, what this process writes about classes goes to the
/// current user's part of the registry: DLLs that register themselves meanwhile are
/// registered for this user.
class UserClasses
{
public:
    UserClasses();
    ~UserClasses();
    UserClasses(const UserClasses&) = delete;
    UserClasses& operator=(const UserClasses&) = delete;

private:
    tavlo::com_ptr<IUnknown> registrar_;
};

/// A redirection when the registration is for this user, none when it is for all.
std::optional<UserClasses> RedirectFor(bool isForUser);

/// Whether this user's classes, or all users', have this key.
bool IsClassesKey(const std::wstring& key, bool isForUser);

/// The default value of a key of this user's classes, or of all users'; empty when there is none.
std::wstring ClassesValue(const std::wstring& key, bool isForUser);

/// Like Check, with advice where rights are missing.
void CheckRegistration(HRESULT result, std::string_view what, bool isForUser);

} // namespace Mardu::Sentel::Tavlo::Client
