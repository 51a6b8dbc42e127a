// One start at a time. Without this, a second start could clear the folder that the first one is filling, and
// the copy that the first one starts would end it.
#pragma once

#include <string>

// Claims the start of the launcher that is installed in `launcherFolder`. False if another start claimed it
// less than thirty seconds ago and another process of this file name runs. Then the other start will show its
// window, and the caller must end. True also if no claim can be made. Returns at once if there is no claim,
// or if the start that made it still runs. Waits up to two seconds while another process decides about the
// claim, and one second before it takes over a young claim.
bool ClaimStart(const std::string& launcherFolder);

// Waits, for one second at most, until no other process of this file name runs. A start that was refused ends
// soon, and so does a launcher that was terminated, but until then they would count as a running game.
void WaitForRefusedStarts();

// Removes the claim. Call it when the window or a message is shown, or when neither will come.
void EndStartClaim(const std::string& launcherFolder);
