// The application around the window: its look, its event loop, its end.
#pragma once

struct LauncherContext;

// Opens the window and returns when the event loop has ended and everything is torn down. Fills and clears
// `application` and `window` of the context.
void RunApplication(LauncherContext& context);
