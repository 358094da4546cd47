#pragma once

namespace Mardu::Sentel::Tavlo {

/// Marks the classes whose instances a performance object would count. There is none,
/// so it has no state and does nothing.
template <class T>
class LifeTimeLog
{
};

} // namespace Mardu::Sentel::Tavlo
