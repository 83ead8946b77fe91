// Lock annotations that clang checks (-Wthread-safety); nothing under other compilers.
#pragma once

#if defined(__clang__)
#define QO1905_ANNOTATE(x) __attribute__((x))
#else
#define QO1905_ANNOTATE(x)
#endif

#define QO1905_CAPABILITY(name) QO1905_ANNOTATE(capability(name))
#define QO1905_GUARDED_BY(lock) QO1905_ANNOTATE(guarded_by(lock))
#define QO1905_REQUIRES(lock) QO1905_ANNOTATE(requires_capability(lock))
#define QO1905_TRY_ACQUIRE(...) QO1905_ANNOTATE(try_acquire_capability(__VA_ARGS__))
#define QO1905_RELEASE() QO1905_ANNOTATE(release_capability())
