#pragma once
// TESSERA_SANITIZED is 1 in builds with the address or thread sanitizer, and
// in unoptimised ones (coverage), for tests that must give inflated stack
// frames more room. GCC defines __SANITIZE_ADDRESS__ / __SANITIZE_THREAD__;
// Clang 14 answers __has_feature; both define __OPTIMIZE__ from -O1 on.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || !defined(__OPTIMIZE__)
#define TESSERA_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TESSERA_SANITIZED 1
#endif
#endif
#ifndef TESSERA_SANITIZED
#define TESSERA_SANITIZED 0
#endif
