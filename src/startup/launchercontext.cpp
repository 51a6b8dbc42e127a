#include "startup/launchercontext.h"

LauncherContext& LauncherContext::Instance()
{
    static auto* const context = new LauncherContext;
    return *context;
}
