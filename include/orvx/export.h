// Symbol visibility for the orvx shared library.
#pragma once

#if defined(_WIN32)
#  if defined(ORVX_STATIC)
#    define ORVX_API
#  elif defined(ORVX_BUILDING_LIBRARY)
#    define ORVX_API __declspec(dllexport)
#  else
#    define ORVX_API __declspec(dllimport)
#  endif
#else
#  define ORVX_API __attribute__((visibility("default")))
#endif
