/* The standard images of the name registry, drawn as vector paths at 32 x 32 points:
   template images as black shapes on transparency (AppKit tints those), the others in
   colour. Each is a bitmap representation, so it encodes and draws like any loaded image. */
#import "image_internal.h"

#include <math.h>
#include <string.h>

#include "coregraphics/vector_canvas.h"

using qvr::LineCap;
using qvr::LineJoin;
using qvr::VectorCanvas;

static const int kSide = 32;

static void Fill(VectorCanvas& cr, double r, double g, double b) {
  cr.SetColor(r, g, b);
  cr.Fill();
}

static void Triangle(VectorCanvas& cr, bool right) {
  double x0 = right ? 10 : 22, x1 = right ? 24 : 8;
  cr.MoveTo(x0, 6);
  cr.LineTo(x1, 16);
  cr.LineTo(x0, 26);
  cr.ClosePath();
  Fill(cr, 0, 0, 0);
}

static void Arrow(VectorCanvas& cr, bool right) {
  cr.Save();
  if (!right) {
    cr.Translate(kSide, 0);
    cr.Scale(-1, 1);
  }
  cr.SetLineWidth(4);
  cr.SetLineCap(LineCap::kRound);
  cr.SetLineJoin(LineJoin::kRound);
  cr.MoveTo(12, 6);
  cr.LineTo(22, 16);
  cr.LineTo(12, 26);
  cr.SetColor(0, 0, 0);
  cr.Stroke();
  cr.Restore();
}

static void Bar(VectorCanvas& cr, bool vertical) {
  cr.Rectangle(6, 14, 20, 4);
  if (vertical) cr.Rectangle(14, 6, 4, 20);
  Fill(cr, 0, 0, 0);
}

static void Ring(VectorCanvas& cr, double radius, double width) {
  cr.NewSubPath();
  cr.Arc(16, 16, radius, 0, 2 * M_PI);
  cr.SetLineWidth(width);
  cr.Stroke();
}

static void Lock(VectorCanvas& cr, bool locked) {
  cr.Rectangle(8, 14, 16, 13);
  Fill(cr, 0, 0, 0);
  cr.SetLineWidth(3);
  cr.NewSubPath();
  cr.Arc(locked ? 16 : 22, 12, 5, M_PI, 2 * M_PI);
  cr.LineTo(locked ? 21 : 27, locked ? 14 : 12);
  cr.MoveTo(locked ? 11 : 17, 12);
  cr.LineTo(locked ? 11 : 17, 14);
  cr.SetColor(0, 0, 0);
  cr.Stroke();
}

static void Cross(VectorCanvas& cr) {
  cr.SetLineWidth(3);
  cr.MoveTo(11, 11);
  cr.LineTo(21, 21);
  cr.MoveTo(21, 11);
  cr.LineTo(11, 21);
  cr.Stroke();
}

static void Refresh(VectorCanvas& cr) {
  cr.SetColor(0, 0, 0);
  cr.SetLineWidth(3);
  cr.Arc(16, 16, 9, 0.3, 2 * M_PI - 0.6);
  cr.Stroke();
  cr.MoveTo(25, 4);
  cr.LineTo(26, 13);
  cr.LineTo(18, 11);
  cr.ClosePath();
  cr.Fill();
}

static void Gear(VectorCanvas& cr, double cx, double cy, double radius) {
  for (int i = 0; i < 8; i++) {
    double angle = i * M_PI / 4;
    cr.Save();
    cr.Translate(cx, cy);
    cr.Rotate(angle);
    cr.Rectangle(-radius * 0.18, -radius, radius * 0.36, radius * 2);
    cr.Restore();
  }
  cr.NewSubPath();
  cr.Arc(cx, cy, radius * 0.75, 0, 2 * M_PI);
  cr.Fill();
  cr.SetClearing(true);
  cr.Arc(cx, cy, radius * 0.3, 0, 2 * M_PI);
  cr.Fill();
  cr.SetClearing(false);
}

static void Person(VectorCanvas& cr, double cx, double scale) {
  cr.Arc(cx, 10 * scale + (1 - scale) * 16, 5 * scale, 0, 2 * M_PI);
  cr.Fill();
  cr.Arc(cx, 28, 10 * scale, M_PI, 2 * M_PI);
  cr.ClosePath();
  cr.Fill();
}

static void Folder(VectorCanvas& cr) {
  cr.MoveTo(3, 8);
  cr.LineTo(12, 8);
  cr.LineTo(14, 11);
  cr.LineTo(29, 11);
  cr.LineTo(29, 27);
  cr.LineTo(3, 27);
  cr.ClosePath();
  Fill(cr, 0.35, 0.62, 0.92);
  cr.Rectangle(3, 14, 26, 13);
  Fill(cr, 0.45, 0.72, 0.98);
}

static void Page(VectorCanvas& cr, double x, double y) {
  cr.Rectangle(x, y, 16, 20);
  Fill(cr, 1, 1, 1);
  cr.Rectangle(x + 0.5, y + 0.5, 15, 19);
  cr.SetColor(0.4, 0.4, 0.4);
  cr.SetLineWidth(1);
  cr.Stroke();
}

static void Dot(VectorCanvas& cr, double r, double g, double b) {
  cr.Arc(16, 16, 10, 0, 2 * M_PI);
  Fill(cr, r, g, b);
}

static void Grid(VectorCanvas& cr, int columns, int rows) {
  double w = 24.0 / columns, h = 24.0 / rows;
  for (int c = 0; c < columns; c++)
    for (int r = 0; r < rows; r++) cr.Rectangle(4 + c * w + 1, 4 + r * h + 1, w - 2, h - 2);
  Fill(cr, 0, 0, 0);
}

static void Corners(VectorCanvas& cr, bool outward) {
  cr.SetLineWidth(3);
  for (int i = 0; i < 4; i++) {
    cr.Save();
    cr.Translate(16, 16);
    cr.Rotate(i * M_PI / 2);
    double a = outward ? 12 : 4, b = outward ? 6 : 10;
    cr.MoveTo(a, b);
    cr.LineTo(a, a);
    cr.LineTo(b, a);
    cr.Restore();
  }
  cr.SetColor(0, 0, 0);
  cr.Stroke();
}

static void Monitor(VectorCanvas& cr) {
  cr.Rectangle(3, 5, 26, 17);
  Fill(cr, 0.2, 0.2, 0.22);
  cr.Rectangle(5, 7, 22, 13);
  Fill(cr, 0.4, 0.65, 0.95);
  cr.Rectangle(13, 22, 6, 4);
  cr.Rectangle(9, 26, 14, 2);
  Fill(cr, 0.6, 0.6, 0.62);
}

static void Globe(VectorCanvas& cr) {
  Dot(cr, 0.3, 0.55, 0.9);
  cr.SetColor(1, 1, 1);
  cr.SetLineWidth(1.5);
  cr.MoveTo(6, 16);
  cr.LineTo(26, 16);
  cr.Stroke();
  cr.Save();
  cr.Translate(16, 16);
  cr.Scale(0.45, 1);
  cr.Arc(0, 0, 10, 0, 2 * M_PI);
  cr.Restore();
  cr.Stroke();
}

static void Cloud(VectorCanvas& cr) {
  cr.Arc(11, 19, 6, 0, 2 * M_PI);
  cr.NewSubPath();
  cr.Arc(18, 15, 7, 0, 2 * M_PI);
  cr.NewSubPath();
  cr.Arc(24, 20, 5, 0, 2 * M_PI);
  cr.Rectangle(11, 19, 13, 6);
  Fill(cr, 0.45, 0.7, 0.95);
}

static void Trash(VectorCanvas& cr, bool full) {
  cr.Rectangle(7, 6, 18, 3);
  Fill(cr, 0.45, 0.45, 0.48);
  cr.MoveTo(8, 10);
  cr.LineTo(24, 10);
  cr.LineTo(22, 28);
  cr.LineTo(10, 28);
  cr.ClosePath();
  Fill(cr, 0.7, 0.7, 0.74);
  if (full) {
    cr.Arc(16, 8, 6, M_PI, 2 * M_PI);
    Fill(cr, 0.95, 0.95, 0.85);
  }
}

static void Caution(VectorCanvas& cr) {
  cr.MoveTo(16, 3);
  cr.LineTo(30, 28);
  cr.LineTo(2, 28);
  cr.ClosePath();
  Fill(cr, 0.98, 0.8, 0.1);
  cr.Rectangle(14.5, 11, 3, 10);
  cr.Rectangle(14.5, 23, 3, 3);
  Fill(cr, 0, 0, 0);
}

static void Info(VectorCanvas& cr) {
  Dot(cr, 0.25, 0.5, 0.9);
  cr.Rectangle(14.5, 14, 3, 9);
  cr.Rectangle(14.5, 9, 3, 3);
  Fill(cr, 1, 1, 1);
}

static void ColorWheel(VectorCanvas& cr) {
  for (int i = 0; i < 6; i++) {
    static const double colors[6][3] = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 1}, {0, 0, 1}, {1, 0, 1}};
    cr.MoveTo(16, 16);
    cr.Arc(16, 16, 13, i * M_PI / 3, (i + 1) * M_PI / 3);
    cr.ClosePath();
    Fill(cr, colors[i][0], colors[i][1], colors[i][2]);
  }
}

static void LetterA(VectorCanvas& cr) {
  cr.SetLineWidth(3.5);
  cr.MoveTo(7, 27);
  cr.LineTo(16, 5);
  cr.LineTo(25, 27);
  cr.MoveTo(10.5, 19);
  cr.LineTo(21.5, 19);
  cr.SetColor(0.15, 0.15, 0.15);
  cr.Stroke();
}

static void House(VectorCanvas& cr) {
  cr.MoveTo(16, 4);
  cr.LineTo(29, 16);
  cr.LineTo(25, 16);
  cr.LineTo(25, 28);
  cr.LineTo(19, 28);
  cr.LineTo(19, 20);
  cr.LineTo(13, 20);
  cr.LineTo(13, 28);
  cr.LineTo(7, 28);
  cr.LineTo(7, 16);
  cr.LineTo(3, 16);
  cr.ClosePath();
  Fill(cr, 0, 0, 0);
}

static void Eye(VectorCanvas& cr) {
  cr.MoveTo(3, 16);
  cr.CurveTo(10, 6, 22, 6, 29, 16);
  cr.CurveTo(22, 26, 10, 26, 3, 16);
  cr.ClosePath();
  Fill(cr, 0, 0, 0);
  cr.SetClearing(true);
  cr.Arc(16, 16, 4, 0, 2 * M_PI);
  cr.Fill();
  cr.SetClearing(false);
}

static void Check(VectorCanvas& cr) {
  cr.SetLineWidth(3.5);
  cr.MoveTo(7, 17);
  cr.LineTo(13, 24);
  cr.LineTo(25, 8);
  cr.SetColor(0, 0, 0);
  cr.Stroke();
}

static void Book(VectorCanvas& cr) {
  cr.Rectangle(7, 4, 18, 24);
  Fill(cr, 0, 0, 0);
  cr.SetClearing(true);
  cr.Rectangle(10, 8, 12, 2);
  cr.Fill();
  cr.SetClearing(false);
}

static void Chevrons(VectorCanvas& cr) {
  cr.SetLineWidth(2.5);
  for (int i = 0; i < 3; i++) {
    cr.MoveTo(5 + i * 8, 9);
    cr.LineTo(10 + i * 8, 16);
    cr.LineTo(5 + i * 8, 23);
  }
  cr.SetColor(0, 0, 0);
  cr.Stroke();
}

static void Bluetooth(VectorCanvas& cr) {
  cr.SetLineWidth(2.5);
  cr.MoveTo(9, 10);
  cr.LineTo(22, 22);
  cr.LineTo(16, 28);
  cr.LineTo(16, 4);
  cr.LineTo(22, 10);
  cr.LineTo(9, 22);
  cr.SetColor(0, 0, 0);
  cr.Stroke();
}

static void Screen(VectorCanvas& cr, bool play) {
  cr.Rectangle(3, 6, 26, 18);
  Fill(cr, 0, 0, 0);
  if (play) {
    cr.SetClearing(true);
    cr.MoveTo(13, 10);
    cr.LineTo(21, 15);
    cr.LineTo(13, 20);
    cr.ClosePath();
    cr.Fill();
    cr.SetClearing(false);
  }
  cr.Rectangle(10, 25, 12, 2);
  Fill(cr, 0, 0, 0);
}

static void Painting(NSString* name, VectorCanvas& cr) {
#define IS(x) [name isEqualToString:NSImageName##x]
  cr.SetColor(0, 0, 0);
  if (IS(RightFacingTriangleTemplate)) Triangle(cr, true);
  else if (IS(LeftFacingTriangleTemplate)) Triangle(cr, false);
  else if (IS(GoRightTemplate) || IS(FollowLinkFreestandingTemplate)) Arrow(cr, true);
  else if (IS(GoLeftTemplate)) Arrow(cr, false);
  else if (IS(AddTemplate)) Bar(cr, true);
  else if (IS(RemoveTemplate) || IS(MenuMixedStateTemplate)) Bar(cr, false);
  else if (IS(LockLockedTemplate)) Lock(cr, true);
  else if (IS(LockUnlockedTemplate)) Lock(cr, false);
  else if (IS(StopProgressTemplate)) Cross(cr);
  else if (IS(StopProgressFreestandingTemplate)) { Ring(cr, 12, 2.5); Cross(cr); }
  else if (IS(RefreshTemplate)) Refresh(cr);
  else if (IS(RefreshFreestandingTemplate)) { Refresh(cr); }
  else if (IS(InvalidDataFreestandingTemplate)) {
    Ring(cr, 12, 3);
    cr.MoveTo(8, 8);
    cr.LineTo(24, 24);
    cr.Stroke();
  } else if (IS(RevealFreestandingTemplate)) {
    Ring(cr, 8, 3);
    cr.MoveTo(21, 21);
    cr.LineTo(28, 28);
    cr.Stroke();
  } else if (IS(QuickLookTemplate)) Eye(cr);
  else if (IS(BluetoothTemplate)) Bluetooth(cr);
  else if (IS(IChatTheaterTemplate)) Screen(cr, false);
  else if (IS(SlideshowTemplate)) Screen(cr, true);
  else if (IS(ActionTemplate)) Gear(cr, 16, 16, 12);
  else if (IS(SmartBadgeTemplate)) { Ring(cr, 13, 2); Gear(cr, 16, 16, 8); }
  else if (IS(IconViewTemplate)) Grid(cr, 2, 2);
  else if (IS(ListViewTemplate)) Grid(cr, 1, 4);
  else if (IS(ColumnViewTemplate)) Grid(cr, 3, 1);
  else if (IS(FlowViewTemplate)) {
    cr.Rectangle(11, 7, 10, 14);
    cr.Rectangle(3, 10, 6, 9);
    cr.Rectangle(23, 10, 6, 9);
    Fill(cr, 0, 0, 0);
  } else if (IS(PathTemplate)) Chevrons(cr);
  else if (IS(EnterFullScreenTemplate)) Corners(cr, true);
  else if (IS(ExitFullScreenTemplate)) Corners(cr, false);
  else if (IS(MenuOnStateTemplate)) Check(cr);
  else if (IS(HomeTemplate)) House(cr);
  else if (IS(BookmarksTemplate)) Book(cr);
  else if (IS(Folder)) Folder(cr);
  else if (IS(FolderBurnable)) {
    Folder(cr);
    cr.SetColor(0.9, 0.3, 0.1);
    Ring(cr, 5, 2);
  } else if (IS(FolderSmart)) {
    Folder(cr);
    cr.SetColor(1, 1, 1);
    Gear(cr, 16, 20, 5);
  } else if (IS(Computer)) Monitor(cr);
  else if (IS(Network)) Globe(cr);
  else if (IS(DotMac) || IS(MobileMe)) Cloud(cr);
  else if (IS(Bonjour)) {
    Dot(cr, 0.3, 0.6, 0.95);
    cr.SetColor(1, 1, 1);
    Ring(cr, 6, 2);
  } else if (IS(MultipleDocuments)) {
    Page(cr, 4, 3);
    Page(cr, 8, 6);
    Page(cr, 12, 9);
  } else if (IS(UserAccounts) || IS(UserGroup)) {
    cr.SetColor(0.45, 0.45, 0.5);
    Person(cr, 11, 0.75);
    cr.SetColor(0.3, 0.3, 0.35);
    Person(cr, 20, 0.9);
  } else if (IS(User)) {
    cr.SetColor(0.3, 0.3, 0.35);
    Person(cr, 16, 1);
  } else if (IS(Everyone)) {
    cr.SetColor(0.5, 0.5, 0.55);
    Person(cr, 8, 0.6);
    Person(cr, 24, 0.6);
    cr.SetColor(0.3, 0.3, 0.35);
    Person(cr, 16, 0.85);
  } else if (IS(UserGuest)) {
    cr.SetColor(0.55, 0.7, 0.55);
    Person(cr, 16, 1);
  } else if (IS(PreferencesGeneral)) {
    cr.SetColor(0.45, 0.45, 0.5);
    Gear(cr, 16, 16, 13);
  } else if (IS(Advanced)) {
    cr.SetColor(0.35, 0.35, 0.4);
    Gear(cr, 12, 12, 8);
    Gear(cr, 22, 22, 7);
  } else if (IS(Info)) Info(cr);
  else if (IS(FontPanel)) LetterA(cr);
  else if (IS(ColorPanel)) ColorWheel(cr);
  else if (IS(ApplicationIcon)) {
    cr.Rectangle(4, 4, 24, 24);
    Fill(cr, 0.3, 0.5, 0.85);
    cr.SetColor(1, 1, 1);
    Gear(cr, 16, 16, 7);
  } else if (IS(TrashEmpty)) Trash(cr, false);
  else if (IS(TrashFull)) Trash(cr, true);
  else if (IS(Caution)) Caution(cr);
  else if (IS(StatusAvailable)) Dot(cr, 0.2, 0.75, 0.25);
  else if (IS(StatusPartiallyAvailable)) Dot(cr, 0.95, 0.75, 0.1);
  else if (IS(StatusUnavailable)) Dot(cr, 0.9, 0.2, 0.2);
  else if (IS(StatusNone)) {
    cr.SetColor(0.6, 0.6, 0.6);
    Ring(cr, 9, 2);
  }
#undef IS
}

static NSArray* StandardNames(void) {
  static NSArray* names = [[NSArray alloc] initWithObjects:
      NSImageNameQuickLookTemplate, NSImageNameBluetoothTemplate, NSImageNameIChatTheaterTemplate,
      NSImageNameSlideshowTemplate, NSImageNameActionTemplate, NSImageNameSmartBadgeTemplate,
      NSImageNameIconViewTemplate, NSImageNameListViewTemplate, NSImageNameColumnViewTemplate,
      NSImageNameFlowViewTemplate, NSImageNamePathTemplate, NSImageNameInvalidDataFreestandingTemplate,
      NSImageNameLockLockedTemplate, NSImageNameLockUnlockedTemplate, NSImageNameGoRightTemplate,
      NSImageNameGoLeftTemplate, NSImageNameRightFacingTriangleTemplate, NSImageNameLeftFacingTriangleTemplate,
      NSImageNameAddTemplate, NSImageNameRemoveTemplate, NSImageNameRevealFreestandingTemplate,
      NSImageNameFollowLinkFreestandingTemplate, NSImageNameEnterFullScreenTemplate,
      NSImageNameExitFullScreenTemplate, NSImageNameStopProgressTemplate,
      NSImageNameStopProgressFreestandingTemplate, NSImageNameRefreshTemplate,
      NSImageNameRefreshFreestandingTemplate, NSImageNameBonjour, NSImageNameComputer,
      NSImageNameFolderBurnable, NSImageNameFolderSmart, NSImageNameFolder, NSImageNameNetwork,
      NSImageNameDotMac, NSImageNameMobileMe, NSImageNameMultipleDocuments, NSImageNameUserAccounts,
      NSImageNamePreferencesGeneral, NSImageNameAdvanced, NSImageNameInfo, NSImageNameFontPanel,
      NSImageNameColorPanel, NSImageNameUser, NSImageNameUserGroup, NSImageNameEveryone,
      NSImageNameUserGuest, NSImageNameMenuOnStateTemplate, NSImageNameMenuMixedStateTemplate,
      NSImageNameApplicationIcon, NSImageNameTrashEmpty, NSImageNameTrashFull, NSImageNameHomeTemplate,
      NSImageNameBookmarksTemplate, NSImageNameCaution, NSImageNameStatusAvailable,
      NSImageNameStatusPartiallyAvailable, NSImageNameStatusUnavailable, NSImageNameStatusNone, nil];
  return names;
}

NSImage* StandardImageCreate(NSString* name) {
  if (![StandardNames() containsObject:name]) return nil;
  VectorCanvas canvas(kSide, kSide);
  if (!canvas.pixels()) return nil;
  Painting(name, canvas);
  /* The canvas's rows run top-down like CGImage rows, in the host-order premultiplied ARGB
     that Core Graphics calls PremultipliedFirst | ByteOrder32Little here. */
  int stride = canvas.stride();
  NSData* bytes = [NSData dataWithBytes:canvas.pixels() length:(NSUInteger)(stride * kSide)];
  CGDataProviderRef provider = CGDataProviderCreateWithCFData((CFDataRef)(void*)bytes);
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGImageRef image = CGImageCreate(kSide, kSide, 8, 32, (size_t)stride, space,
                                   kCGImageAlphaPremultipliedFirst | kCGBitmapByteOrder32Host, provider, NULL, true,
                                   kCGRenderingIntentDefault);
  CGColorSpaceRelease(space);
  CGDataProviderRelease(provider);
  if (!image) return nil;
  NSImage* result = [[NSImage alloc] initWithCGImage:image size:NSMakeSize(kSide, kSide)];
  CGImageRelease(image);
  [result setTemplate:[name hasSuffix:@"Template"]];
  return result;
}
