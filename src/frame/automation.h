// The automation header every class includes: the target's COM runtime (the
// system's on Windows, the library's own on Linux) and the interfaces
// generated from idl/vantrel.idl.
#pragma once

#include "automation_runtime.h"
#include "vantrel.h"
