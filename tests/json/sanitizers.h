// Which sanitizer the program is built with, whichever the compiler. Constants only.
#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CSM_ADDRESS_SANITIZER 1
#elif __has_feature(thread_sanitizer)
#define CSM_THREAD_SANITIZER 1
#endif
#endif

#if defined(__SANITIZE_ADDRESS__) && !defined(CSM_ADDRESS_SANITIZER)
#define CSM_ADDRESS_SANITIZER 1
#elif defined(__SANITIZE_THREAD__) && !defined(CSM_THREAD_SANITIZER)
#define CSM_THREAD_SANITIZER 1
#endif
