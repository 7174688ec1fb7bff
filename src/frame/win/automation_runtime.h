// The automation runtime of the Windows build: the system's COM and OLE
// automation headers. The Linux build has its own header of this name in
// src/frame/runtime/ with the same names and layouts.
#pragma once

#include <windows.h>
#include <ole2.h>
#include <oleauto.h>
#include <ocidl.h>
#include <olectl.h>
