// Making NSImageQVR images: the shared factories on every format the platform reads
// (files made by independent encoders, pixels compared with the encoders' source), on
// bytes that are no image and on nil arguments; images from CGImageQVR instances; the
// initWith methods on instances that already hold an image; URLs served over loopback
// HTTP.
#include <csignal>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/plugin_fixture.h"

namespace {

using support::PluginTest;

const int kWidth = 7, kHeight = 5;

// A folder of test images: source.ppm, a 7 x 5 picture of distinct colours, and the same
// picture written by the netpbm and libjpeg tools in each format.
class ImageFolder {
 public:
  ImageFolder() {
    std::string ppm = "P6\n" + std::to_string(kWidth) + " " + std::to_string(kHeight) + "\n255\n";
    for (int y = 0; y < kHeight; ++y)
      for (int x = 0; x < kWidth; ++x) ppm += {char(x * 40), char(y * 60), char(200 - x * 10 - y * 7)};
    folder_.write("source.ppm", ppm);
    source_ = ppm.substr(ppm.size() - kWidth * kHeight * 3);
    const char* commands[][2] = {{"png", "pnmtopng"}, {"jpg", "cjpeg -quality 95"}, {"tif", "pnmtotiff"},
                                 {"gif", "ppmtogif"}, {"bmp", "ppmtobmp -bpp 24"}};
    for (auto& command : commands) Run(std::string(command[1]) + " source.ppm > image." + command[0]);
    Run("djpeg -pnm image.jpg > jpeg-decoded.ppm");
    std::string decoded = bytes("jpeg-decoded.ppm");
    jpegPixels_ = decoded.substr(decoded.size() - source_.size());
  }
  std::string path(const std::string& name) const { return folder_.path(name); }
  void write(const std::string& name, const std::string& bytes) const { folder_.write(name, bytes); }
  std::string bytes(const std::string& name) const { return support::ReadBytes(path(name)); }
  // RGB bytes, rows from the top: the source, and the JPEG as djpeg decodes it.
  const std::string& source() const { return source_; }
  const std::string& jpegPixels() const { return jpegPixels_; }

 private:
  void Run(const std::string& command) const {
    std::string line = "cd " + folder_.path() + " && " + command + " 2>/dev/null";
    ASSERT_EQ(std::system(line.c_str()), 0) << line;
  }
  support::TempFolder folder_;
  std::string source_, jpegPixels_;
};

// Serves a folder's image.png on 127.0.0.1 at an ephemeral port, from a Python process
// that never touches the host: /image.png, /moved (a redirect to it), /garbage (a body
// that is no image), 404 for anything else. Each request is a line of requests.log.
class LoopbackServer {
 public:
  explicit LoopbackServer(const ImageFolder& folder) : folder_(folder) {
    folder.write("server.py", R"(import http.server, os
class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        with open('requests.log', 'a') as log: log.write(self.path + '\n')
        status, body = {'/image.png': (200, open('image.png', 'rb').read()), '/moved': (302, b''),
                        '/garbage': (200, b'this is no image at all')}.get(self.path, (404, b'not here'))
        self.send_response(status)
        if status == 302: self.send_header('Location', '/image.png')
        self.send_header('Content-Length', str(len(body)))
        self.end_headers()
        self.wfile.write(body)
    def log_message(self, *arguments): pass
server = http.server.HTTPServer(('127.0.0.1', 0), Handler)
print(server.server_port, os.getpid(), flush=True)
server.serve_forever()
)");
    pipe_ = popen(("cd " + folder.path("") + " && exec /usr/bin/python3 server.py").c_str(), "r");
    if (pipe_ == nullptr || std::fscanf(pipe_, "%d %d", &port_, &pid_) != 2) ADD_FAILURE() << "no server";
  }
  ~LoopbackServer() {
    if (pid_ > 0) kill(pid_, SIGTERM);
    if (pipe_ != nullptr) pclose(pipe_);
  }
  std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(port_) + path; }
  int requests() const {
    const std::string log = folder_.bytes("requests.log");
    return int(std::count(log.begin(), log.end(), '\n'));
  }

 private:
  const ImageFolder& folder_;
  FILE* pipe_ = nullptr;
  int port_ = 0, pid_ = 0;
};

class ImageCreation : public PluginTest {
 protected:
  host::Value Factory(std::string_view member, std::vector<host::Value> args) {
    return runtime_->callShared("NSImageQVR", member, std::move(args));
  }
  intptr_t Handle(const host::Value& image) { return runtime_->get(image, "Handle").integer; }

  // The RGB bytes of an image as the platform draws it at its own size, rows from the
  // top; "" when it has none. Also checks that size.
  std::string Pixels(const host::Value& image, int width = kWidth, int height = kHeight) {
    std::string bytes = runtime_->memoryBlockBytes(Shared("ImagePixels", {image})), rgb;
    if (bytes.empty()) return "";
    EXPECT_EQ(Utf8(Shared("ImageGeometry", {image})), std::to_string(width) + " x " + std::to_string(height));
    for (size_t i = 0; i + 3 < bytes.size(); i += 4) rgb.append(bytes, i, 3);
    return rgb;
  }

  // The factory's exception class and message for a nil argument.
  void ExpectNilRaises(std::string_view declaration, const char* message) {
    EXPECT_EQ(Raised([&] { Factory(declaration, {host::Value::nil()}); }), std::string("NilObjectException: ") + message)
        << declaration;
  }
};

int LargestDifference(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (size_t i = 0; i < a.size(); ++i)
    largest = std::max(largest, std::abs(int(static_cast<unsigned char>(a[i])) - int(static_cast<unsigned char>(b[i]))));
  return largest;
}

TEST_F(ImageCreation, FactoriesReadEveryFormat) {
  host::Runtime& runtime = Probe();
  ImageFolder folder;
  for (const char* format : {"png", "jpg", "tif", "gif", "bmp"}) {
    SCOPED_TRACE(format);
    const std::string name = std::string("image.") + format;
    const std::string& expected = std::string(format) == "jpg" ? folder.jpegPixels() : folder.source();
    const int tolerance = std::string(format) == "jpg" ? 3 : 0;

    host::Value fromString = Factory("imageWithData", {runtime.string(folder.bytes(name), host::kEncodingUnknown)});
    EXPECT_EQ(runtime.get(fromString, "width").real, kWidth);
    EXPECT_EQ(runtime.get(fromString, "height").real, kHeight);
    EXPECT_LE(LargestDifference(Pixels(fromString), expected), tolerance);

    host::Value fromPath = Factory("imageWithContentsOfPath", {Text(folder.path(name))});
    EXPECT_EQ(Pixels(fromPath), Pixels(fromString));

    host::Value fromURL = Factory("imageWithContentsOfURL", {Text("file://" + folder.path(name))});
    EXPECT_EQ(Pixels(fromURL), Pixels(fromString));

    host::Value holder = runtime.newInstance("NSImageQVR", {host::Value::ofDouble(1), host::Value::ofDouble(1)});
    EXPECT_TRUE(runtime.call(holder, "initWithContentsOfURL", {Text("file://" + folder.path(name))}).boolean);
    EXPECT_EQ(Pixels(holder), Pixels(fromString));
    EXPECT_EQ(Shared("InstancesCount").integer, 4);
  }
}

TEST_F(ImageCreation, StringBytesOnAnOlderHost) {
  host::Options options;
  options.version = 2011.9;  // strings read in place, locked
  host::Runtime& runtime = Probe(options);
  ImageFolder folder;
  host::Value png = runtime.string(folder.bytes("image.png"), host::kEncodingUnknown);
  EXPECT_EQ(Pixels(Factory("imageWithData", {png})), folder.source());
  EXPECT_EQ(Pixels(Factory("imageWithDataMT", {png})), folder.source());
}

TEST_F(ImageCreation, BadInputGivesNothing) {
  host::Runtime& runtime = Probe();
  ImageFolder folder;
  EXPECT_TRUE(Factory("imageWithData", {Text("no image in here")}).isNil());
  std::string png = folder.bytes("image.png");
  EXPECT_TRUE(Factory("imageWithData", {runtime.string(png.substr(0, png.size() / 2), host::kEncodingUnknown)}).isNil())
      << "a truncated PNG";
  EXPECT_TRUE(Factory("imageWithContentsOfPath", {Text(folder.path("missing.png"))}).isNil());
  EXPECT_TRUE(Factory("imageWithContentsOfPath", {Text(folder.path("source.ppm"))}).isNil()) << "not a format read here";
  EXPECT_TRUE(Factory("imageWithContentsOfURL", {Text("file://" + folder.path("missing.png"))}).isNil());
  EXPECT_TRUE(Factory("imageWithContentsOfURL", {Text("this is no URL")}).isNil());
  // A folder or a device holds no image, and is refused without a complaint in the log.
  testing::internal::CaptureStderr();
  EXPECT_TRUE(Factory("imageWithContentsOfFile", {runtime.folderItem(folder.path("."))}).isNil());
  EXPECT_TRUE(Factory("imageWithContentsOfPathMT", {Text("/dev/zero")}).isNil());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_FALSE(runtime.exceptionPending());

  // The host hands "" over as its null string, which these refuse as they refuse nil.
  const struct { const char *declaration, *message; } kStringFactories[] = {
      {"imageWithData(data as string) as NSImageQVR", "String is empty"},
      {"imageWithContentsOfPath(path as string) as NSImageQVR", "Path is empty"},
      {"imageWithContentsOfURL(URL as string) as NSImageQVR", "URL is empty"}};
  for (const auto& f : kStringFactories) {
    ExpectNilRaises(f.declaration, f.message);
    EXPECT_EQ(Raised([&] { Factory(f.declaration, {Text("")}); }), std::string("NilObjectException: ") + f.message);
  }
  ExpectNilRaises("imageWithCGImage", "Image is nil");

  host::Value holder = runtime.newInstance("NSImageQVR", {host::Value::ofDouble(3), host::Value::ofDouble(3)});
  for (const char* url : {"this is no URL", "", "file:///nowhere/image.png"}) {
    EXPECT_FALSE(runtime.call(holder, "initWithContentsOfURL", {Text(url)}).boolean) << url;
    EXPECT_EQ(Handle(holder), 0) << "the old image is given up first";
  }
  EXPECT_FALSE(runtime.call(holder, "initWithContentsOfURL(url as string) as boolean", {host::Value::nil()}).boolean);
  EXPECT_FALSE(runtime.call(holder, "initWithPasteboard").boolean) << "nothing on the pasteboard";
  EXPECT_FALSE(runtime.call(holder, "initWithIconRef", {host::Value::ofInteger(0)}).boolean);
  EXPECT_FALSE(runtime.call(holder, "initWithIconRef", {host::Value::ofInteger(1234)}).boolean) << "no icons here";
  EXPECT_EQ(Shared("InstancesCount").integer, 0);
}

TEST_F(ImageCreation, ImagesFromCGImages) {
  host::Runtime& runtime = Probe();
  auto image = [&](host::Value source, std::vector<host::Value> size = {}) {
    size.insert(size.begin(), source);
    return Factory("imageWithCGImage", size);
  };
  host::Value cgImage = runtime.callShared("ImageProbeQVR", "NewCGImage",
                                           {host::Value::ofInteger(6), host::Value::ofInteger(4)});
  host::Value plain = image(cgImage);
  EXPECT_EQ(runtime.get(plain, "width").real, 6.0);
  EXPECT_EQ(runtime.get(plain, "height").real, 4.0);
  std::string pixels = Pixels(plain, 6, 4);
  ASSERT_EQ(pixels.size(), 6u * 4 * 3);
  EXPECT_EQ(static_cast<unsigned char>(pixels[5 * 3]), 255) << "red grows to the right";
  EXPECT_EQ(static_cast<unsigned char>(pixels[(3 * 6) * 3 + 1]), 255) << "green grows downwards";

  host::Value wide = image(cgImage, {host::Value::ofDouble(100), host::Value::ofDouble(-1)});
  EXPECT_EQ(runtime.get(wide, "width").real, 100.0);
  EXPECT_EQ(runtime.get(wide, "height").real, 4.0);

  for (host::Value wrong : {runtime.newInstance("NSImageQVR"), runtime.newInstance("NSSizeQVR")})
    EXPECT_EQ(Raised([&] { image(wrong); }), "IllegalCastException: CGImage must be a CGImageQVR!")
        << support::ClassName(runtime, wrong);
  EXPECT_EQ(Raised([&] { image(runtime.newInstance("CGImageQVR")); }), "NilObjectException: Image is nil")
      << "an empty CGImageQVR";
}

TEST_F(ImageCreation, URLsOverHTTP) {
  host::Runtime& runtime = Probe();
  ImageFolder folder;
  LoopbackServer server(folder);
  EXPECT_EQ(Pixels(Factory("imageWithContentsOfURL", {Text(server.url("/image.png"))})), folder.source());
  EXPECT_TRUE(Factory("imageWithContentsOfURL", {Text(server.url("/missing.png"))}).isNil()) << "404";
  EXPECT_EQ(Pixels(Factory("imageWithContentsOfURL", {Text(server.url("/moved"))})), folder.source()) << "redirect";
  EXPECT_TRUE(Factory("imageWithContentsOfURL", {Text(server.url("/garbage"))}).isNil()) << "no image in the body";
  host::Value holder = runtime.newInstance("NSImageQVR");
  EXPECT_TRUE(runtime.call(holder, "initWithContentsOfURL", {Text(server.url("/image.png"))}).boolean);
  EXPECT_EQ(Pixels(holder), folder.source());
  EXPECT_FALSE(runtime.call(holder, "initWithContentsOfURL", {Text(server.url("/other"))}).boolean);
  EXPECT_EQ(server.requests(), 7);  // the redirect is followed with a second request
}

TEST_F(ImageCreation, ThePasteboardMemoryBlocksAndFolderItems) {
  host::Runtime& runtime = Probe();
  ImageFolder folder;
  EXPECT_FALSE(runtime.callShared("NSImageQVR", "canInitWithPasteboard").boolean) << "an empty pasteboard";
  ASSERT_TRUE(runtime.callShared("ImageProbeQVR", "PutPNGOnPasteboard",
                                 {runtime.string(folder.bytes("image.png"), host::kEncodingUnknown)}).boolean);
  EXPECT_TRUE(runtime.callShared("NSImageQVR", "canInitWithPasteboard").boolean);
  host::Value image = runtime.newInstance("NSImageQVR");
  EXPECT_TRUE(runtime.call(image, "initWithPasteboard").boolean);
  EXPECT_EQ(Pixels(image), folder.source());
  EXPECT_EQ(Shared("InstancesCount").integer, 1);
  std::string png = folder.bytes("image.png");
  host::Value block = runtime.memoryBlock(png.data(), png.size());
  EXPECT_EQ(Pixels(Factory("imageWithData", {block})), folder.source());
  host::Value fromFile = Factory("imageWithContentsOfFile", {runtime.folderItem(folder.path("image.gif"))});
  EXPECT_EQ(Pixels(fromFile), folder.source());
  EXPECT_TRUE(Factory("imageWithData", {runtime.memoryBlock("", 0)}).isNil()) << "an empty MemoryBlock";
  EXPECT_TRUE(Factory("imageWithData", {runtime.memoryBlock("GIF89a", 6)}).isNil());
  EXPECT_TRUE(Factory("imageWithContentsOfFile", {runtime.folderItem(folder.path("missing.png"))}).isNil());
  ExpectNilRaises("imageWithData(data as memoryblock) as NSImageQVR", "Memoryblock is nil");
  ExpectNilRaises("imageWithContentsOfFile", "folderitem is nil");

  host::Value holder = runtime.newInstance("NSImageQVR", {block});
  EXPECT_EQ(Pixels(holder), folder.source()) << "Constructor(data as memoryblock)";
  EXPECT_FALSE(runtime.call(holder, "initWithData", {runtime.memoryBlock("no image", 8)}).boolean);
  EXPECT_EQ(Handle(holder), 0) << "a failed load leaves the instance empty";
  EXPECT_FALSE(runtime.call(holder, "initWithData", {runtime.memoryBlock("", 0)}).boolean);
  EXPECT_FALSE(runtime.call(holder, "initWithData", {host::Value::nil()}).boolean);
  EXPECT_TRUE(runtime.call(holder, "initWithDataIgnoringOrientation", {block}).boolean);
  EXPECT_EQ(Pixels(holder), folder.source());
  EXPECT_FALSE(runtime.call(holder, "initWithDataIgnoringOrientation", {runtime.memoryBlock("x", 1)}).boolean);
  host::Value tiff = runtime.folderItem(folder.path("image.tif"));
  EXPECT_TRUE(runtime.call(holder, "initWithContentsOfURL", {tiff}).boolean);
  EXPECT_EQ(Pixels(holder), folder.source());
  EXPECT_FALSE(runtime.call(holder, "initWithContentsOfURL", {runtime.folderItem(folder.path("source.ppm"))}).boolean);
  EXPECT_FALSE(runtime.call(holder, "initWithContentsOfURL(file as folderitem) as boolean", {host::Value::nil()}).boolean);

  EXPECT_EQ(Pixels(runtime.newInstance("NSImageQVR", {tiff})), folder.source()) << "Constructor(file as folderitem)";
  host::Value empty = runtime.newInstance("NSImageQVR", {runtime.memoryBlock("no image", 8)});
  EXPECT_EQ(Handle(empty), 0) << "no image and no exception";
  EXPECT_FALSE(runtime.exceptionPending());
}

TEST_F(ImageCreation, ThreadedFactoriesGiveWhatTheDirectOnesGive) {
  host::Runtime& runtime = Probe();
  ImageFolder folder;
  LoopbackServer server(folder);
  for (const char* format : {"png", "jpg", "bmp"}) {
    SCOPED_TRACE(format);
    const std::string name = std::string("image.") + format;
    std::string bytes = folder.bytes(name);
    std::string direct = Pixels(Factory("imageWithContentsOfPath", {Text(folder.path(name))}));
    ASSERT_FALSE(direct.empty());
    EXPECT_EQ(Pixels(Factory("imageWithDataMT", {runtime.string(bytes, host::kEncodingUnknown)})), direct);
    EXPECT_EQ(Pixels(Factory("imageWithDataMT", {runtime.memoryBlock(bytes.data(), bytes.size())})), direct);
    EXPECT_EQ(Pixels(Factory("imageWithContentsOfFileMT", {runtime.folderItem(folder.path(name))})), direct);
    EXPECT_EQ(Pixels(Factory("imageWithContentsOfPathMT", {Text(folder.path(name))})), direct);
    EXPECT_EQ(Pixels(Factory("imageWithContentsOfURLMT", {Text("file://" + folder.path(name))})), direct);
  }
  EXPECT_EQ(Pixels(Factory("imageWithContentsOfURLMT", {Text(server.url("/image.png"))})), folder.source());
  EXPECT_TRUE(Factory("imageWithContentsOfURLMT", {Text(server.url("/gone.png"))}).isNil());
  EXPECT_TRUE(Factory("imageWithContentsOfURLMT", {Text("this is no URL")}).isNil());
  EXPECT_TRUE(Factory("imageWithDataMT", {Text("no image")}).isNil());
  EXPECT_TRUE(Factory("imageWithDataMT", {runtime.memoryBlock("", 0)}).isNil());
  EXPECT_TRUE(Factory("imageWithContentsOfPathMT", {Text(folder.path("missing.png"))}).isNil());
  EXPECT_FALSE(runtime.exceptionPending());

  ExpectNilRaises("imageWithDataMT(data as string) as NSImageQVR", "Data is empty");
  ExpectNilRaises("imageWithDataMT(data as memoryblock) as NSImageQVR", "Memoryblock is nil");
  ExpectNilRaises("imageWithContentsOfFileMT", "Folderitem is nil");
  ExpectNilRaises("imageWithContentsOfPathMT", "Path is empty");
  ExpectNilRaises("imageWithContentsOfURLMT", "URL is empty");
  // Other host threads run while a threaded factory loads.
  std::atomic<bool> stop{false};
  std::atomic<int> turns{0};
  size_t counter = runtime.startThread([&] {
    while (!stop) {
      ++turns;
      runtime.yield();
    }
  });
  host::Value direct = Factory("imageWithContentsOfPath", {Text(folder.path("image.jpg"))});
  EXPECT_EQ(turns.load(), 0) << "a direct factory keeps the host thread";
  host::Value image = Factory("imageWithContentsOfPathMT", {Text(folder.path("image.jpg"))});
  EXPECT_GE(turns.load(), 1) << "the threaded one let the other host thread run";
  EXPECT_EQ(Pixels(image), Pixels(direct));
  stop = true;
  runtime.joinThread(counter);
  EXPECT_EQ(runtime.foreignThreadCalls(), 0u) << "the workers never called the host";
}

}  // namespace
