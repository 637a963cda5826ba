/* The PDF, EPS and PICT representations on files that other tools made (Ghostscript,
   ImageMagick, netpbm): pages, bounds and boxes, pixels drawn at two scales and against the
   same picture decoded from PNG, the representations' bytes, and damaged and hostile input. */
#import "codec_support.h"
#import "drawing_pixels.h"

#include <stdlib.h>

namespace {

class DocumentReps : public CodecTest {};

/* The representation drawn with -draw into a transparent context of its size times scale
   (autoreleased). */
CGContextRef Render(NSImageRep* rep, double scale) {
  NSSize size = [rep size];
  CGContextRef context = ARGBContext((size_t)ceil(size.width * scale), (size_t)ceil(size.height * scale));
  CGContextScaleCTM(context, scale, scale);
  DrawIn(ContextOf(context), [&] { EXPECT_TRUE([rep draw]); });
  return context;
}

/* A context's pixels as RGBA, rows from the top. */
TestPicture Pixels(CGContextRef context) {
  TestPicture p{int(CGBitmapContextGetWidth(context)), int(CGBitmapContextGetHeight(context)), 4, {}};
  for (int y = 0; y < p.height; ++y)
    for (int x = 0; x < p.width; ++x) {
      const RGBA c = PixelAt(context, x, y);
      p.pixels.insert(p.pixels.end(), {uint8_t(c.r), uint8_t(c.g), uint8_t(c.b), uint8_t(c.a)});
    }
  return p;
}

const char kTwoPages[] =
    "%!PS\n<< /PageSize [200 100] >> setpagedevice\n1 0 0 setrgbcolor 0 0 100 100 rectfill\n"
    "0 0 0 setrgbcolor 150 0 0.5 100 rectfill showpage\n"
    "<< /PageSize [100 300] >> setpagedevice\n0 0 1 setrgbcolor 0 0 50 50 rectfill showpage\n";

TEST_F(DocumentReps, PdfPagesBoundsAndPixelsAtTwoScales) {
  Write("two.ps", kTwoPages);
  NSData* pdf = Made("gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -sOutputFile=two.pdf two.ps", "two.pdf");
  ASSERT_TRUE([NSPDFImageRep canInitWithData:pdf]);
  NSPDFImageRep* rep = [NSPDFImageRep imageRepWithData:pdf];
  ASSERT_TRUE(rep != nil);
  EXPECT_EQ([rep pageCount], 2);
  EXPECT_EQ([rep currentPage], 0);
  EXPECT_TRUE([[rep PDFRepresentation] isEqualToData:pdf]);
  EXPECT_TRUE(NSEqualRects([rep bounds], NSMakeRect(0, 0, 200, 100)));
  EXPECT_EQ([rep pixelsWide], 0) << "drawn at any resolution";
  for (double scale : {1.0, 4.0}) {
    CGContextRef context = Render(rep, scale);
    /* Red, white paper, and a half-point line: one pixel at one pixel per point, two of four
       at four, so the page was rendered at the destination's resolution, not enlarged. */
    const size_t at = 50 * scale;
    ExpectPixels(context, {{at, at, {255, 0, 0, 255}}, {size_t(120 * scale), at, {255, 255, 255, 255}},
                           {size_t(150 * scale), at, {0, 0, 0, 255}, 8}}, 2);
    if (scale > 1) ExpectPixels(context, {{size_t(150 * scale + 3), 50, {255, 255, 255, 255}}}, 8);
  }
  [rep setCurrentPage:1];
  [rep setCurrentPage:5];
  EXPECT_EQ([rep currentPage], 1) << "a page beyond the last changes nothing";
  EXPECT_TRUE(NSEqualRects([rep bounds], NSMakeRect(0, 0, 100, 300)));
  EXPECT_TRUE(NSEqualSizes([rep size], NSMakeSize(100, 300)));
  for (double scale : {0.5, 2.0}) {
    CGContextRef context = Render(rep, scale);
    const size_t row = CGBitmapContextGetHeight(context) - 1 - 20 * scale;
    ExpectPixels(context, {{size_t(20 * scale), row, {0, 0, 255, 255}}, {size_t(80 * scale), row, {255, 255, 255, 255}}}, 2);
  }
  /* As an image: one PDF representation, the first page's size, drawn into a larger rect. */
  NSImage* image = [[[NSImage alloc] initWithData:pdf] autorelease];
  ASSERT_EQ([[image representations] count], 1u);
  EXPECT_TRUE([[[image representations] objectAtIndex:0] isKindOfClass:[NSPDFImageRep class]]);
  EXPECT_TRUE(NSEqualSizes([image size], NSMakeSize(200, 100)));
  NSImage* fromFile = [[[NSImage alloc] initWithContentsOfFile:[NSString stringWithUTF8String:Path("two.pdf").c_str()]]
      autorelease];
  EXPECT_TRUE(NSEqualSizes([fromFile size], NSMakeSize(200, 100)));
  CGContextRef context = ARGBContext(400, 200);
  DrawIn(ContextOf(context), [&] {
    [image drawInRect:NSMakeRect(0, 0, 400, 200) fromRect:NSMakeRect(100, 0, 100, 100) operation:NSCompositeCopy
             fraction:1];
  });
  /* Only the right half, enlarged: the line four times as wide. */
  ExpectPixels(context, {{50, 100, {255, 255, 255, 255}, 2}, {200, 100, {0, 0, 0, 255}, 8}});
}

const char kFigure[] =
    "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 10 20 110 70\n%%EndComments\n"
    "1 0 0 setrgbcolor 10 20 100 50 rectfill 0 0 1 setrgbcolor 60 20 50 25 rectfill\n%%EOF\n";

/* EPS behind a DOS binary header, with a few bytes of "TIFF preview" after it. */
std::string WithDosHeader(const std::string& ps) {
  std::string out(30, '\0');
  const unsigned char magic[4] = {0xC5, 0xD0, 0xD3, 0xC6};
  uint32_t fields[6] = {30, (uint32_t)ps.size(), 0, 0, (uint32_t)(30 + ps.size()), 8};
  memcpy(&out[0], magic, 4);
  for (int i = 0; i < 6; ++i)
    for (int b = 0; b < 4; ++b) out[4 + i * 4 + b] = char(fields[i] >> (8 * b));
  out[28] = out[29] = char(0xFF);
  return out + ps + "II*\0\0\0\0\0";
}

TEST_F(DocumentReps, EpsBoxPdfFormAndPixels) {
  for (const std::string& bytes : {std::string(kFigure), WithDosHeader(kFigure)}) {
    NSData* eps = DataOf(bytes);
    ASSERT_TRUE([NSEPSImageRep canInitWithData:eps]);
    NSEPSImageRep* rep = [NSEPSImageRep imageRepWithData:eps];
    ASSERT_TRUE(rep != nil);
    EXPECT_TRUE(NSEqualRects([rep boundingBox], NSMakeRect(10, 20, 100, 50)));
    EXPECT_TRUE(NSEqualSizes([rep size], NSMakeSize(100, 50)));
    EXPECT_TRUE([[rep EPSRepresentation] isEqualToData:eps]);
    [rep prepareGState];
    CGContextRef context = Render(rep, 2);
    /* Left half red, bottom right blue, top right red. */
    ExpectPixels(context, {{40, 50, {255, 0, 0, 255}}, {160, 80, {0, 0, 255, 255}}, {160, 20, {255, 0, 0, 255}}}, 2);
    NSImage* image = [[[NSImage alloc] initWithData:eps] autorelease];
    ASSERT_EQ([[image representations] count], 1u);
    EXPECT_TRUE([[[image representations] objectAtIndex:0] isKindOfClass:[NSEPSImageRep class]]);
  }
  /* A box given at the end. */
  std::string atEnd = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: (atend)\n%%EndComments\n0 0 5 5 rectfill\n"
                      "%%Trailer\n%%BoundingBox: 0 0 5 5\n%%EOF\n";
  NSEPSImageRep* rep = [NSEPSImageRep imageRepWithData:DataOf(atEnd)];
  EXPECT_TRUE(NSEqualRects([rep boundingBox], NSMakeRect(0, 0, 5, 5)));
}

TEST_F(DocumentReps, HostileEpsEndsByTimeLimitAndSaferRefusesFiles) {
  setenv("QVR_EPS_TIME_LIMIT", "2", 1);
  std::string loop = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 10 10\n%%EndComments\n{ 1 pop } loop\n";
  EXPECT_TRUE([NSEPSImageRep imageRepWithData:DataOf(loop)] == nil);
  unsetenv("QVR_EPS_TIME_LIMIT");
  Write("victim.txt", "keep me");
  for (const std::string& attack :
       {"(" + Path("victim.txt") + ") deletefile", "(" + Path("victim.txt") + ") (w) file (gone) writestring",
        "(" + Path("victim.txt") + ") (r) file 100 string readstring pop pop 0 0 10 10 rectfill"}) {
    std::string eps = "%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 10 10\n%%EndComments\n" + attack + "\n";
    NSEPSImageRep* rep = [NSEPSImageRep imageRepWithData:DataOf(eps)];
    EXPECT_TRUE(rep == nil) << attack;
    EXPECT_TRUE([ReadFile(Path("victim.txt")) isEqualToData:DataOf(std::string("keep me"))]) << attack;
  }
}

/* A version 1 picture of one BitsRect: 1 bit per pixel, 13 x 3, rows of 2 bytes. */
std::string OneBitPict(const std::vector<std::string>& rows) {
  std::string p = {0, 0, 0, 0, 0, 0, 0, 3, 0, 13, 0x11, 0x01, char(0x90), 0, 2};
  const char rect[8] = {0, 0, 0, 0, 0, 3, 0, 13};
  p.append(rect, 8).append(rect, 8).append(rect, 8);
  p.append("\0\0", 2);
  for (const std::string& row : rows) {
    uint16_t bits = 0;
    for (size_t x = 0; x < row.size(); ++x)
      if (row[x] == '#') bits |= uint16_t(0x8000 >> x);
    p += char(bits >> 8);
    p += char(bits & 0xFF);
  }
  return p + char(0xFF);
}

TEST_F(DocumentReps, PictPixelsEqualTheSamePictureFromPngAndShapesAsQuickDrawDrawsThem) {
  Made("convert -size 40x30 gradient:red-blue -depth 8 -fill yellow -draw 'rectangle 5,5 15,20' rgb.png"
       " && pngtopnm rgb.png | ppmquant 64 > few.ppm && pnmtopng few.ppm > few.png", "few.png");
  struct Case { const char* what; std::string command, output, png; } cases[] = {
      {"32-bit DirectBitsRect, packed by component", "convert rgb.png PICT:rgb.pict", "rgb.pict", "rgb.png"},
      {"8-bit PackBitsRect with a colour table", "ppmtopict few.ppm > few.pict", "few.pict", "few.png"},
      {"8-bit, two colours", "convert rgb.png -monochrome mono.png && convert mono.png PICT:mono.pict",
       "mono.pict", "mono.png"},
  };
  for (const Case& c : cases) {
    NSData* pict = Made(c.command, c.output);
    ASSERT_TRUE([NSPICTImageRep canInitWithData:pict]) << c.what;
    NSPICTImageRep* rep = [NSPICTImageRep imageRepWithData:pict];
    ASSERT_TRUE(rep != nil) << c.what;
    EXPECT_TRUE(NSEqualRects([rep boundingBox], NSMakeRect(0, 0, 40, 30))) << c.what;
    EXPECT_TRUE([[rep PICTRepresentation] isEqualToData:pict]);
    TestPicture expected;
    ASSERT_TRUE(DecodeWithPillow(Path(c.png), expected));
    EXPECT_EQ(MaxDifference(Pixels(Render(rep, 1)), AsRGBA(expected)), 0) << c.what;
    NSImage* image = [[[NSImage alloc] initWithData:pict] autorelease];
    EXPECT_TRUE([[[image representations] lastObject] isKindOfClass:[NSPICTImageRep class]]) << c.what;
  }
  /* A 1-bit picture made by hand against the same bits through netpbm. */
  std::vector<std::string> rows = {"#..#.##..###.", ".##.#..#.....", "#############"};
  std::string pict = OneBitPict(rows);
  std::string pbm = "P1\n13 3\n";
  for (const std::string& row : rows)
    for (char c : row) pbm += c == '#' ? "1 " : "0 ";
  Write("bits.pbm", pbm);
  TestPicture expected;
  Made("pnmtopng bits.pbm > bits.png", "bits.png");
  ASSERT_TRUE(DecodeWithPillow(Path("bits.png"), expected));
  NSPICTImageRep* rep = [NSPICTImageRep imageRepWithData:DataOf(pict)];
  ASSERT_TRUE(rep != nil);
  EXPECT_TRUE(NSEqualRects([rep boundingBox], NSMakeRect(0, 0, 13, 3)));
  EXPECT_EQ(MaxDifference(Pixels(Render(rep, 1)), AsRGBA(expected)), 0);

  // Shapes as QuickDraw draws them: a version 2 picture of a red painted rect, a framed
  // oval with a 2-point pen, and a line, on the frame (0,0)-(20,20).
  const unsigned char bytes[] = {
      0, 0, 0, 0, 0, 0, 0, 20, 0, 20, 0, 0x11, 2, 0xFF, 0x0C, 0, 0xFF, 0xFE, 0, 0, 0, 0x48, 0, 0, 0, 0x48, 0, 0,
      0, 0, 0, 0, 0, 20, 0, 20, 0, 0, 0, 0,
      0, 0x1A, 0xFF, 0xFF, 0, 0, 0, 0,        // RGBFgCol red
      0, 0x31, 0, 2, 0, 2, 0, 6, 0, 8,        // paintRect (2,2)-(8,6)
      0, 0x1A, 0, 0, 0, 0, 0xFF, 0xFF,        // blue
      0, 0x07, 0, 2, 0, 2,                    // PnSize 2 x 2
      0, 0x50, 0, 10, 0, 10, 0, 20, 0, 20,    // frameOval (10,10)-(20,20)
      0, 0x1A, 0, 0, 0, 0, 0, 0,              // black
      0, 0x07, 0, 1, 0, 1,                    // PnSize 1 x 1
      0, 0x20, 0, 0, 0, 0, 0, 0, 0, 19,       // line (0,0) to (19,0)
      0, 0xA1, 0, 100, 0, 3, 1, 2, 3, 0,      // a long comment, skipped
      0, 0xFF};
  NSPICTImageRep* shapes = [NSPICTImageRep imageRepWithData:[NSData dataWithBytes:bytes length:sizeof bytes]];
  ASSERT_TRUE(shapes != nil);
  CGContextRef drawn = Render(shapes, 1);
  ExpectPixels(drawn, {{4, 3, {255, 0, 0, 255}},   {8, 3, {0, 0, 0, 0}},     {15, 10, {0, 0, 255, 255}},
                         {15, 11, {0, 0, 255, 255}}, {15, 12, {0, 0, 0, 0}},   {15, 15, {0, 0, 0, 0}},
                         {10, 15, {0, 0, 255, 255}}, {19, 0, {0, 0, 0, 255}},  {10, 1, {0, 0, 0, 0}}});
}

TEST_F(DocumentReps, DamagedInputNeverCrashes) {
  Write("two.ps", kTwoPages);
  NSData* pdf = Made("gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=pdfwrite -sOutputFile=two.pdf two.ps", "two.pdf");
  NSData* pict = Made("convert -size 30x20 gradient:red-blue PICT:g.pict", "g.pict");
  NSData* eps = [NSData dataWithBytes:kFigure length:strlen(kFigure)];
  const Class classes[] = {[NSPDFImageRep class], [NSPICTImageRep class], [NSEPSImageRep class]};
  NSData* inputs[] = {pdf, pict, eps};
  srand(7);
  for (int k = 0; k < 3; ++k) {
    NSData* good = inputs[k];
    for (int trial = 0; trial < (k == 2 ? 6 : 60); ++trial) {
      NSMutableData* bad = [NSMutableData dataWithData:good];
      if (trial % 3 == 0) [bad setLength:rand() % [good length]];
      else
        for (int flips = 0; flips < 1 + trial % 5; ++flips)
          ((uint8_t*)[bad mutableBytes])[rand() % [bad length]] ^= uint8_t(1 << (rand() % 8));
      NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
      NSImageRep* rep = [classes[k] imageRepWithData:bad];
      if (rep != nil && [rep size].width <= 2000 && [rep size].height <= 2000) Render(rep, 1);
      [pool drain];
    }
  }
  /* No data, empty data. */
  for (Class c : classes) {
    EXPECT_TRUE([c imageRepWithData:nil] == nil);
    EXPECT_TRUE([c imageRepWithData:[NSData data]] == nil);
  }
}

}  // namespace
