#pragma once

/// Writes the plug-in's values into the host's settings tree, below "Plugins\Handheld\Portable
/// Drives", over those of an earlier registration. Without a settings store nothing is written.
void VnRegisterPortableDrives();

/// Removes the plug-in's key; "Plugins\Handheld" itself stays, and is made when it was not there.
void VnUnregisterPortableDrives();
