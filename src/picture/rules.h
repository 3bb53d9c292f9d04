// Every model group's rule, declared from the one list of rule functions.
// The classic and the extended rule of a group may differ, hence two names.
#pragma once

#include "picture/engine.h"

namespace orvx::picture {

namespace classic {
#define ORVX_CLASSIC(name, printer, copier) extern const Rule name;
#define ORVX_CLASSIC_DUPLEX(name, printer, copier) extern const Rule name;
#define ORVX_EXTENDED(name, printer, copier)
#define ORVX_EXTENDED_DOCS(name, printer, copier)
#define ORVX_CLASSIC_FIXED(result, printer, copier)
#include "orvx/picture_rules.inc"
}  // namespace classic

namespace extended {
#define ORVX_CLASSIC(name, printer, copier)
#define ORVX_CLASSIC_DUPLEX(name, printer, copier)
#define ORVX_EXTENDED(name, printer, copier) extern const Rule name;
#define ORVX_EXTENDED_DOCS(name, printer, copier) extern const Rule name;
#define ORVX_CLASSIC_FIXED(result, printer, copier)
#include "orvx/picture_rules.inc"
}  // namespace extended

}  // namespace orvx::picture
