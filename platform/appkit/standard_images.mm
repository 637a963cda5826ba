/* The standard images of the name registry, drawn with cairo at 32 x 32 points: template
   images as black shapes on transparency (AppKit tints those), the others in colour.
   Each is a bitmap representation, so it encodes and draws like any loaded image. */
#import "image_internal.h"

#include <cairo.h>
#include <math.h>
#include <string.h>

static const int kSide = 32;

typedef void (*Painter)(cairo_t* cr);

static void Fill(cairo_t* cr, double r, double g, double b) {
  cairo_set_source_rgb(cr, r, g, b);
  cairo_fill(cr);
}

static void Triangle(cairo_t* cr, bool right) {
  double x0 = right ? 10 : 22, x1 = right ? 24 : 8;
  cairo_move_to(cr, x0, 6);
  cairo_line_to(cr, x1, 16);
  cairo_line_to(cr, x0, 26);
  cairo_close_path(cr);
  Fill(cr, 0, 0, 0);
}

static void Arrow(cairo_t* cr, bool right) {
  cairo_save(cr);
  if (!right) {
    cairo_translate(cr, kSide, 0);
    cairo_scale(cr, -1, 1);
  }
  cairo_set_line_width(cr, 4);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_move_to(cr, 12, 6);
  cairo_line_to(cr, 22, 16);
  cairo_line_to(cr, 12, 26);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_stroke(cr);
  cairo_restore(cr);
}

static void Bar(cairo_t* cr, bool vertical) {
  cairo_rectangle(cr, 6, 14, 20, 4);
  if (vertical) cairo_rectangle(cr, 14, 6, 4, 20);
  Fill(cr, 0, 0, 0);
}

static void Ring(cairo_t* cr, double radius, double width) {
  cairo_new_sub_path(cr);
  cairo_arc(cr, 16, 16, radius, 0, 2 * M_PI);
  cairo_set_line_width(cr, width);
  cairo_stroke(cr);
}

static void Lock(cairo_t* cr, bool locked) {
  cairo_rectangle(cr, 8, 14, 16, 13);
  Fill(cr, 0, 0, 0);
  cairo_set_line_width(cr, 3);
  cairo_new_sub_path(cr);
  cairo_arc(cr, locked ? 16 : 22, 12, 5, M_PI, 2 * M_PI);
  cairo_line_to(cr, locked ? 21 : 27, locked ? 14 : 12);
  cairo_move_to(cr, locked ? 11 : 17, 12);
  cairo_line_to(cr, locked ? 11 : 17, 14);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_stroke(cr);
}

static void Cross(cairo_t* cr) {
  cairo_set_line_width(cr, 3);
  cairo_move_to(cr, 11, 11);
  cairo_line_to(cr, 21, 21);
  cairo_move_to(cr, 21, 11);
  cairo_line_to(cr, 11, 21);
  cairo_stroke(cr);
}

static void Refresh(cairo_t* cr) {
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_set_line_width(cr, 3);
  cairo_arc(cr, 16, 16, 9, 0.3, 2 * M_PI - 0.6);
  cairo_stroke(cr);
  cairo_move_to(cr, 25, 4);
  cairo_line_to(cr, 26, 13);
  cairo_line_to(cr, 18, 11);
  cairo_close_path(cr);
  cairo_fill(cr);
}

static void Gear(cairo_t* cr, double cx, double cy, double radius) {
  for (int i = 0; i < 8; i++) {
    double angle = i * M_PI / 4;
    cairo_save(cr);
    cairo_translate(cr, cx, cy);
    cairo_rotate(cr, angle);
    cairo_rectangle(cr, -radius * 0.18, -radius, radius * 0.36, radius * 2);
    cairo_restore(cr);
  }
  cairo_new_sub_path(cr);
  cairo_arc(cr, cx, cy, radius * 0.75, 0, 2 * M_PI);
  cairo_fill(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cairo_arc(cr, cx, cy, radius * 0.3, 0, 2 * M_PI);
  cairo_fill(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
}

static void Person(cairo_t* cr, double cx, double scale) {
  cairo_arc(cr, cx, 10 * scale + (1 - scale) * 16, 5 * scale, 0, 2 * M_PI);
  cairo_fill(cr);
  cairo_arc(cr, cx, 28, 10 * scale, M_PI, 2 * M_PI);
  cairo_close_path(cr);
  cairo_fill(cr);
}

static void Folder(cairo_t* cr) {
  cairo_move_to(cr, 3, 8);
  cairo_line_to(cr, 12, 8);
  cairo_line_to(cr, 14, 11);
  cairo_line_to(cr, 29, 11);
  cairo_line_to(cr, 29, 27);
  cairo_line_to(cr, 3, 27);
  cairo_close_path(cr);
  Fill(cr, 0.35, 0.62, 0.92);
  cairo_rectangle(cr, 3, 14, 26, 13);
  Fill(cr, 0.45, 0.72, 0.98);
}

static void Page(cairo_t* cr, double x, double y) {
  cairo_rectangle(cr, x, y, 16, 20);
  Fill(cr, 1, 1, 1);
  cairo_rectangle(cr, x + 0.5, y + 0.5, 15, 19);
  cairo_set_source_rgb(cr, 0.4, 0.4, 0.4);
  cairo_set_line_width(cr, 1);
  cairo_stroke(cr);
}

static void Dot(cairo_t* cr, double r, double g, double b) {
  cairo_arc(cr, 16, 16, 10, 0, 2 * M_PI);
  Fill(cr, r, g, b);
}

static void Grid(cairo_t* cr, int columns, int rows) {
  double w = 24.0 / columns, h = 24.0 / rows;
  for (int c = 0; c < columns; c++)
    for (int r = 0; r < rows; r++) cairo_rectangle(cr, 4 + c * w + 1, 4 + r * h + 1, w - 2, h - 2);
  Fill(cr, 0, 0, 0);
}

static void Corners(cairo_t* cr, bool outward) {
  cairo_set_line_width(cr, 3);
  for (int i = 0; i < 4; i++) {
    cairo_save(cr);
    cairo_translate(cr, 16, 16);
    cairo_rotate(cr, i * M_PI / 2);
    double a = outward ? 12 : 4, b = outward ? 6 : 10;
    cairo_move_to(cr, a, b);
    cairo_line_to(cr, a, a);
    cairo_line_to(cr, b, a);
    cairo_restore(cr);
  }
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_stroke(cr);
}

static void Monitor(cairo_t* cr) {
  cairo_rectangle(cr, 3, 5, 26, 17);
  Fill(cr, 0.2, 0.2, 0.22);
  cairo_rectangle(cr, 5, 7, 22, 13);
  Fill(cr, 0.4, 0.65, 0.95);
  cairo_rectangle(cr, 13, 22, 6, 4);
  cairo_rectangle(cr, 9, 26, 14, 2);
  Fill(cr, 0.6, 0.6, 0.62);
}

static void Globe(cairo_t* cr) {
  Dot(cr, 0.3, 0.55, 0.9);
  cairo_set_source_rgb(cr, 1, 1, 1);
  cairo_set_line_width(cr, 1.5);
  cairo_move_to(cr, 6, 16);
  cairo_line_to(cr, 26, 16);
  cairo_stroke(cr);
  cairo_save(cr);
  cairo_translate(cr, 16, 16);
  cairo_scale(cr, 0.45, 1);
  cairo_arc(cr, 0, 0, 10, 0, 2 * M_PI);
  cairo_restore(cr);
  cairo_stroke(cr);
}

static void Cloud(cairo_t* cr) {
  cairo_arc(cr, 11, 19, 6, 0, 2 * M_PI);
  cairo_new_sub_path(cr);
  cairo_arc(cr, 18, 15, 7, 0, 2 * M_PI);
  cairo_new_sub_path(cr);
  cairo_arc(cr, 24, 20, 5, 0, 2 * M_PI);
  cairo_rectangle(cr, 11, 19, 13, 6);
  Fill(cr, 0.45, 0.7, 0.95);
}

static void Trash(cairo_t* cr, bool full) {
  cairo_rectangle(cr, 7, 6, 18, 3);
  Fill(cr, 0.45, 0.45, 0.48);
  cairo_move_to(cr, 8, 10);
  cairo_line_to(cr, 24, 10);
  cairo_line_to(cr, 22, 28);
  cairo_line_to(cr, 10, 28);
  cairo_close_path(cr);
  Fill(cr, 0.7, 0.7, 0.74);
  if (full) {
    cairo_arc(cr, 16, 8, 6, M_PI, 2 * M_PI);
    Fill(cr, 0.95, 0.95, 0.85);
  }
}

static void Caution(cairo_t* cr) {
  cairo_move_to(cr, 16, 3);
  cairo_line_to(cr, 30, 28);
  cairo_line_to(cr, 2, 28);
  cairo_close_path(cr);
  Fill(cr, 0.98, 0.8, 0.1);
  cairo_rectangle(cr, 14.5, 11, 3, 10);
  cairo_rectangle(cr, 14.5, 23, 3, 3);
  Fill(cr, 0, 0, 0);
}

static void Info(cairo_t* cr) {
  Dot(cr, 0.25, 0.5, 0.9);
  cairo_rectangle(cr, 14.5, 14, 3, 9);
  cairo_rectangle(cr, 14.5, 9, 3, 3);
  Fill(cr, 1, 1, 1);
}

static void ColorWheel(cairo_t* cr) {
  for (int i = 0; i < 6; i++) {
    static const double colors[6][3] = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 1}, {0, 0, 1}, {1, 0, 1}};
    cairo_move_to(cr, 16, 16);
    cairo_arc(cr, 16, 16, 13, i * M_PI / 3, (i + 1) * M_PI / 3);
    cairo_close_path(cr);
    Fill(cr, colors[i][0], colors[i][1], colors[i][2]);
  }
}

static void LetterA(cairo_t* cr) {
  cairo_set_line_width(cr, 3.5);
  cairo_move_to(cr, 7, 27);
  cairo_line_to(cr, 16, 5);
  cairo_line_to(cr, 25, 27);
  cairo_move_to(cr, 10.5, 19);
  cairo_line_to(cr, 21.5, 19);
  cairo_set_source_rgb(cr, 0.15, 0.15, 0.15);
  cairo_stroke(cr);
}

static void House(cairo_t* cr) {
  cairo_move_to(cr, 16, 4);
  cairo_line_to(cr, 29, 16);
  cairo_line_to(cr, 25, 16);
  cairo_line_to(cr, 25, 28);
  cairo_line_to(cr, 19, 28);
  cairo_line_to(cr, 19, 20);
  cairo_line_to(cr, 13, 20);
  cairo_line_to(cr, 13, 28);
  cairo_line_to(cr, 7, 28);
  cairo_line_to(cr, 7, 16);
  cairo_line_to(cr, 3, 16);
  cairo_close_path(cr);
  Fill(cr, 0, 0, 0);
}

static void Eye(cairo_t* cr) {
  cairo_move_to(cr, 3, 16);
  cairo_curve_to(cr, 10, 6, 22, 6, 29, 16);
  cairo_curve_to(cr, 22, 26, 10, 26, 3, 16);
  cairo_close_path(cr);
  Fill(cr, 0, 0, 0);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cairo_arc(cr, 16, 16, 4, 0, 2 * M_PI);
  cairo_fill(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
}

static void Check(cairo_t* cr) {
  cairo_set_line_width(cr, 3.5);
  cairo_move_to(cr, 7, 17);
  cairo_line_to(cr, 13, 24);
  cairo_line_to(cr, 25, 8);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_stroke(cr);
}

static void Book(cairo_t* cr) {
  cairo_rectangle(cr, 7, 4, 18, 24);
  Fill(cr, 0, 0, 0);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cairo_rectangle(cr, 10, 8, 12, 2);
  cairo_fill(cr);
  cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
}

static void Chevrons(cairo_t* cr) {
  cairo_set_line_width(cr, 2.5);
  for (int i = 0; i < 3; i++) {
    cairo_move_to(cr, 5 + i * 8, 9);
    cairo_line_to(cr, 10 + i * 8, 16);
    cairo_line_to(cr, 5 + i * 8, 23);
  }
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_stroke(cr);
}

static void Bluetooth(cairo_t* cr) {
  cairo_set_line_width(cr, 2.5);
  cairo_move_to(cr, 9, 10);
  cairo_line_to(cr, 22, 22);
  cairo_line_to(cr, 16, 28);
  cairo_line_to(cr, 16, 4);
  cairo_line_to(cr, 22, 10);
  cairo_line_to(cr, 9, 22);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_stroke(cr);
}

static void Screen(cairo_t* cr, bool play) {
  cairo_rectangle(cr, 3, 6, 26, 18);
  Fill(cr, 0, 0, 0);
  if (play) {
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_move_to(cr, 13, 10);
    cairo_line_to(cr, 21, 15);
    cairo_line_to(cr, 13, 20);
    cairo_close_path(cr);
    cairo_fill(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
  }
  cairo_rectangle(cr, 10, 25, 12, 2);
  Fill(cr, 0, 0, 0);
}

static void Painting(NSString* name, cairo_t* cr) {
#define IS(x) [name isEqualToString:NSImageName##x]
  cairo_set_source_rgb(cr, 0, 0, 0);
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
    cairo_move_to(cr, 8, 8);
    cairo_line_to(cr, 24, 24);
    cairo_stroke(cr);
  } else if (IS(RevealFreestandingTemplate)) {
    Ring(cr, 8, 3);
    cairo_move_to(cr, 21, 21);
    cairo_line_to(cr, 28, 28);
    cairo_stroke(cr);
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
    cairo_rectangle(cr, 11, 7, 10, 14);
    cairo_rectangle(cr, 3, 10, 6, 9);
    cairo_rectangle(cr, 23, 10, 6, 9);
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
    cairo_set_source_rgb(cr, 0.9, 0.3, 0.1);
    Ring(cr, 5, 2);
  } else if (IS(FolderSmart)) {
    Folder(cr);
    cairo_set_source_rgb(cr, 1, 1, 1);
    Gear(cr, 16, 20, 5);
  } else if (IS(Computer)) Monitor(cr);
  else if (IS(Network)) Globe(cr);
  else if (IS(DotMac) || IS(MobileMe)) Cloud(cr);
  else if (IS(Bonjour)) {
    Dot(cr, 0.3, 0.6, 0.95);
    cairo_set_source_rgb(cr, 1, 1, 1);
    Ring(cr, 6, 2);
  } else if (IS(MultipleDocuments)) {
    Page(cr, 4, 3);
    Page(cr, 8, 6);
    Page(cr, 12, 9);
  } else if (IS(UserAccounts) || IS(UserGroup)) {
    cairo_set_source_rgb(cr, 0.45, 0.45, 0.5);
    Person(cr, 11, 0.75);
    cairo_set_source_rgb(cr, 0.3, 0.3, 0.35);
    Person(cr, 20, 0.9);
  } else if (IS(User)) {
    cairo_set_source_rgb(cr, 0.3, 0.3, 0.35);
    Person(cr, 16, 1);
  } else if (IS(Everyone)) {
    cairo_set_source_rgb(cr, 0.5, 0.5, 0.55);
    Person(cr, 8, 0.6);
    Person(cr, 24, 0.6);
    cairo_set_source_rgb(cr, 0.3, 0.3, 0.35);
    Person(cr, 16, 0.85);
  } else if (IS(UserGuest)) {
    cairo_set_source_rgb(cr, 0.55, 0.7, 0.55);
    Person(cr, 16, 1);
  } else if (IS(PreferencesGeneral)) {
    cairo_set_source_rgb(cr, 0.45, 0.45, 0.5);
    Gear(cr, 16, 16, 13);
  } else if (IS(Advanced)) {
    cairo_set_source_rgb(cr, 0.35, 0.35, 0.4);
    Gear(cr, 12, 12, 8);
    Gear(cr, 22, 22, 7);
  } else if (IS(Info)) Info(cr);
  else if (IS(FontPanel)) LetterA(cr);
  else if (IS(ColorPanel)) ColorWheel(cr);
  else if (IS(ApplicationIcon)) {
    cairo_rectangle(cr, 4, 4, 24, 24);
    Fill(cr, 0.3, 0.5, 0.85);
    cairo_set_source_rgb(cr, 1, 1, 1);
    Gear(cr, 16, 16, 7);
  } else if (IS(TrashEmpty)) Trash(cr, false);
  else if (IS(TrashFull)) Trash(cr, true);
  else if (IS(Caution)) Caution(cr);
  else if (IS(StatusAvailable)) Dot(cr, 0.2, 0.75, 0.25);
  else if (IS(StatusPartiallyAvailable)) Dot(cr, 0.95, 0.75, 0.1);
  else if (IS(StatusUnavailable)) Dot(cr, 0.9, 0.2, 0.2);
  else if (IS(StatusNone)) {
    cairo_set_source_rgb(cr, 0.6, 0.6, 0.6);
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
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kSide, kSide);
  cairo_t* cr = cairo_create(surface);
  Painting(name, cr);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  /* Cairo's rows run top-down like CGImage rows, in the host-order premultiplied ARGB
     that Core Graphics calls PremultipliedFirst | ByteOrder32Little here. */
  int stride = cairo_image_surface_get_stride(surface);
  NSData* bytes = [NSData dataWithBytes:cairo_image_surface_get_data(surface) length:(NSUInteger)(stride * kSide)];
  cairo_surface_destroy(surface);
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
