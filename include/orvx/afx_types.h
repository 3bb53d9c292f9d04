// The framework's fixed-width scalar names, as the host code spells them.
#pragma once

#if defined(_WIN32)
// On Windows they are the platform's own, so that a host that includes
// <windows.h> too sees one set of declarations.
#  ifndef NOMINMAX
#    define NOMINMAX
#  endif
#  ifndef WIN32_LEAN_AND_MEAN
#    define WIN32_LEAN_AND_MEAN
#  endif
#  include <windows.h>
#else
#  include <cstdint>

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;  // 32 bits on every platform, unlike `unsigned long`
using LONG = std::int32_t;
using UINT = unsigned int;

#  ifndef TRUE
#    define TRUE 1
#  endif
#  ifndef FALSE
#    define FALSE 0
#  endif
#endif
