#include <cstdarg>
#include <sched.h>
#include <sys/types.h>

// Qt starts a process through a clone that shares memory until the new program is loaded. The
// thread sanitizer takes any clone for a fork, and in a fork it sees no races any more: here, in
// the test itself. So this takes the place of the sanitizer's function and passes the call on.

extern "C" int __clone(int (*function)(void *), void *stack, int flags, void *argument, ...);

extern "C" int clone(int (*function)(void *), void *stack, int flags, void *argument, ...) noexcept
{
    va_list rest;
    va_start(rest, argument);
    auto *parentId = va_arg(rest, pid_t *);
    auto *storage = va_arg(rest, void *);
    auto *childId = va_arg(rest, pid_t *);
    va_end(rest);
    return __clone(function, stack, flags, argument, parentId, storage, childId);
}
