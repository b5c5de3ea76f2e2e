// Which sanitizer this program is built with.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KORVANE_ADDRESS_SANITIZER
#endif
#if __has_feature(thread_sanitizer)
#define KORVANE_THREAD_SANITIZER
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define KORVANE_ADDRESS_SANITIZER
#endif
#ifdef __SANITIZE_THREAD__
#define KORVANE_THREAD_SANITIZER
#endif
