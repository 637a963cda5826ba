/* The imaging layer runs on machines without a display server (no DISPLAY to name one): once
   it has drawn (a standard image, an image scaled into a context), encoded, and the plugin is
   loaded beside it, no X11, XCB or XRender library, nor cairo (which brings them), is mapped
   into the process. */
#import "drawing_pixels.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <fstream>
#include <string>

namespace {

class NoDisplayLibraries : public PoolTest {};

TEST_F(NoDisplayLibraries, NothingOfXNorCairoIsMapped) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  NSImage* standard = [NSImage imageNamed:NSImageNameActionTemplate];
  ASSERT_TRUE(standard != nil);
  CGImageRef pixels = [standard CGImageForProposedRect:NULL context:nil hints:nil];
  ASSERT_TRUE(pixels != NULL);
  CGContextRef context = ARGBContext(16, 16);
  CGContextSetInterpolationQuality(context, kCGInterpolationHigh);
  CGContextDrawImage(context, CGRectMake(0, 0, 16, 16), pixels);
  EXPECT_GT(PixelAt(context, 8, 2).a, 0) << "the gear's tooth at the top";
  EXPECT_TRUE([standard TIFFRepresentation] != nil);

  const char* folder = getenv("QVR_LIB_DIR");
  ASSERT_TRUE(folder != NULL);
  void* plugin = dlopen((std::string(folder) + "/libNSImageQVR.so").c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_TRUE(plugin != NULL) << dlerror();

  std::ifstream maps("/proc/self/maps");
  ASSERT_TRUE(maps.good());
  std::string line;
  int lines = 0;
  while (std::getline(maps, line)) {
    lines++;
    for (const char* name : {"libX11", "libxcb", "libXrender", "libcairo"})
      EXPECT_EQ(line.find(name), std::string::npos) << line;
  }
  EXPECT_GT(lines, 10);
  dlclose(plugin);
}

}  // namespace
