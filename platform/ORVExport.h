/* Visibility of what the shared library offers to its hosts and plug-ins. */
#pragma once

#if defined(_WIN32)
#define ORV_API __declspec(dllexport)
#else
#define ORV_API __attribute__((visibility("default")))
#endif
