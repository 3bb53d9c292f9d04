// The C interface's code for each kind of failure.
#pragma once

#include "orvx/orvx.h"
#include "orvx/status.h"

namespace orvx::c_api {
orvx_status ToC(Status::Code code);
}
