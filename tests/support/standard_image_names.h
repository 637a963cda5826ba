// The standard image names, without their "NS" prefix: the platform's name registry holds
// an image for each, and NSImageQVR has a shared getter for each ("NSImageName" + name).
#pragma once

inline const char* const kStandardImageNames[] = {
    "QuickLookTemplate", "BluetoothTemplate", "IChatTheaterTemplate", "SlideshowTemplate", "ActionTemplate",
    "SmartBadgeTemplate", "IconViewTemplate", "ListViewTemplate", "ColumnViewTemplate", "FlowViewTemplate",
    "PathTemplate", "InvalidDataFreestandingTemplate", "LockLockedTemplate", "LockUnlockedTemplate",
    "GoRightTemplate", "GoLeftTemplate", "RightFacingTriangleTemplate", "LeftFacingTriangleTemplate",
    "AddTemplate", "RemoveTemplate", "RevealFreestandingTemplate", "FollowLinkFreestandingTemplate",
    "EnterFullScreenTemplate", "ExitFullScreenTemplate", "StopProgressTemplate",
    "StopProgressFreestandingTemplate", "RefreshTemplate", "RefreshFreestandingTemplate", "Bonjour", "Computer",
    "FolderBurnable", "FolderSmart", "Folder", "Network", "DotMac", "MobileMe", "MultipleDocuments",
    "UserAccounts", "PreferencesGeneral", "Advanced", "Info", "FontPanel", "ColorPanel", "User", "UserGroup",
    "Everyone", "UserGuest", "MenuOnStateTemplate", "MenuMixedStateTemplate", "ApplicationIcon", "TrashEmpty",
    "TrashFull", "HomeTemplate", "BookmarksTemplate", "Caution", "StatusAvailable", "StatusPartiallyAvailable",
    "StatusUnavailable", "StatusNone"};
