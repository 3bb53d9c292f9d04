// The platform's serial-port configuration structures, byte-compatible with
// their published layout (DCB 28 bytes, COMMCONFIG 52 bytes).
#pragma once

#include <cstdint>

#include "orvx/afx_types.h"

#if !defined(_WIN32)
// On Windows both are the platform's own, from <windows.h>.
struct DCB {
  DWORD DCBlength;
  DWORD BaudRate;
  DWORD fBinary : 1;
  DWORD fParity : 1;
  DWORD fOutxCtsFlow : 1;
  DWORD fOutxDsrFlow : 1;
  DWORD fDtrControl : 2;
  DWORD fDsrSensitivity : 1;
  DWORD fTXContinueOnXoff : 1;
  DWORD fOutX : 1;
  DWORD fInX : 1;
  DWORD fErrorChar : 1;
  DWORD fNull : 1;
  DWORD fRtsControl : 2;
  DWORD fAbortOnError : 1;
  DWORD fDummy2 : 17;
  WORD wReserved;
  WORD XonLim;
  WORD XoffLim;
  BYTE ByteSize;
  BYTE Parity;
  BYTE StopBits;
  char XonChar;
  char XoffChar;
  char ErrorChar;
  char EofChar;
  char EvtChar;
  WORD wReserved1;
};
static_assert(sizeof(DCB) == 28);

struct COMMCONFIG {
  DWORD dwSize;  // bytes of the structure, provider data included
  WORD wVersion;
  WORD wReserved;
  DCB dcb;
  DWORD dwProviderSubType;
  DWORD dwProviderOffset;
  DWORD dwProviderSize;
  std::uint16_t wcProviderData[1];
};
static_assert(sizeof(COMMCONFIG) == 52);
#endif
