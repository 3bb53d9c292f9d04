// CFile's exceptions are the host's side of a file failure: these turn the
// library's status into one and back, for CFile itself and for the readers
// that catch what an archive throws.
#pragma once

#include <string>

#include "orvx/afx_file.h"
#include "orvx/status.h"

namespace orvx::detail {

// What is no regular file keeps this system error code, which no system uses.
constexpr int kNotRegularOsError = -2;
// A failure with no cause of its own gets `otherCause` (an open's is accessDenied).
CFileException ToException(const Status& error, std::string fileName, int otherCause = CFileException::generic);
Status FromException(const CFileException& e);

}  // namespace orvx::detail
