// Raising the calling thread's priority, as far as the system lets this user.

#pragma once

namespace Vantor::platform {

/// The highest ordinary priority (Windows: THREAD_PRIORITY_HIGHEST; Linux: a nice value of -10 for this
/// thread, where the user's limits allow it, or what it has if that is higher). Returns whether it took
/// effect; a refusal is normal for an ordinary user on Linux and leaves the thread as it was.
bool raiseCurrentThreadPriority() noexcept;

} // namespace Vantor::platform
