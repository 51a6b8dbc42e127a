// One start at a time: a second start, made before the first one has its window, would clear the folder that
// the first is filling, and be ended by the first one's copy.
#pragma once

#include <string>

// Claims the start of the launcher that is installed in `launcherFolder`. False if another start claimed it
// less than thirty seconds ago and another process of this file name runs: the other start's window is
// coming, and the caller must end. True also if no claim can be made. Returns at once if there is no claim,
// or if the start that made it still runs. Waits up to two seconds while another process decides about the
// claim, and one second before it takes over a young claim.
bool ClaimStart(const std::string& launcherFolder);

// Removes the claim. To be called when the window or a message is shown, or when neither will come.
void EndStartClaim(const std::string& launcherFolder);
