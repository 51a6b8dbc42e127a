// A base for taskbar objects of the tests. The interface here has no operation besides those that the program
// uses.
#pragma once

#include "platform/platform.h"

using TaskbarStub = ITaskbarList3;
