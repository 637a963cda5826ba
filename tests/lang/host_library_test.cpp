// Programs using the host's own classes: Dictionary with Variant keys and values, host
// global functions, pictures checked by their pixels, BinaryStream errors reported with
// their line, and type errors with positions. No run leaves a host object or string.
#include "lang_support.h"
#include "support/independent_decoder.h"
#include "support/plugin_host.h"

#include <sstream>

using langtest::expectAll;

TEST(HostLibrary, DictionaryValuesAreVariants) {
  expectAll({
      {"Dim d As New Dictionary\nd.Value(\"One\") = 1\nd.Value(2.0) = \"two\"\nd.Value(\"ONE\") = d.Value(\"one\") * 10\n"
       "Dim sum As Integer\nFor Each k As Variant In d.Keys()\n  Print k + \": \" + d.Value(k)\nNext\n"
       "Dim values() As Variant = d.Values\n"
       "Print Str(values.LastIndex) + \" \" + Str(d.HasKey(2)) + \" \" + Str(VarType(d.Value(2))) + \" \" + d.Lookup(3, \"none\")\n"
       "Dim v As Variant = d\nPrint Str(v IsA Dictionary) + \" \" + Str(VarType(v)) + \" \" + Str(VarType(1.5))\n"
       "For Each entry As DictionaryEntry In d\n  Print entry.Key + \"=\" + entry.Value\nNext\n"
       "d.Clear\nPrint Str(d.KeyCount)\n"
      // The older Collection: counted from 1, keys without case, a missing key Nil.
       "Dim c As New Collection\nc.Add \"apple\", \"a\"\nc.Add \"banana\"\nc.Add New Dictionary, \"Dict\"\n"
       "Print Str(c.Count) + \" \" + c.Item(\"A\") + \" \" + c.Item(2) + \" \" + Str(c.Item(\"dict\") IsA Dictionary) + \" \" + Str(c.Item(\"none\") Is Nil)\n"
       "c.Remove 1\nc.Remove \"DICT\"\nPrint Str(c.Count) + \" \" + c.Item(1)\n"
       "Try\n  Call c.Item(5)\nCatch e As OutOfBoundsException\n  Print e.Message\nEnd Try\n",
       "One: 10\n2: two\n1 True 8 none\nTrue 9 5\nOne=10\n2=two\n0\n3 apple banana True True\n1 banana\nCollection.Item: index 5 is outside 1 to 1\n"},
      // Random: the same seed gives the same numbers; the older NewPicture gives Nil where New raises.
      {"Dim a As New Random\nDim b As New Random\na.Seed = 7\nb.Seed = 7\nDim same As Boolean = True\nDim inside As Boolean = True\n"
       "For i As Integer = 1 To 50\n  Dim x As Integer = a.InRange(3, 5)\n  same = same And x = b.InRange(3, 5)\n"
       "  inside = inside And x >= 3 And x <= 5 And b.LessThan(2) < 2 And b.Number < 1\n  Call a.LessThan(2)\n  Call a.Number\nNext\n"
       "Print Str(same) + \" \" + Str(inside) + \" \" + Str(a.Seed) + \" \" + Str(a.InRange(4, 4))\n"
       "Print Str(NewPicture(3, 2, 32).Height) + \" \" + Str(NewPicture(0, 2, 32) Is Nil)\n",
       "True True 7 4\n2 True\n"},
  });
}

TEST(HostLibrary, PicturesByTheirPixelsAndHostErrorsNameTheirLine) {
  expectAll({
      {"Dim p As New Picture(3, 2)\np.Graphics.ForeColor = &c204060\np.Graphics.FillRect(1, 1, 2, 1)\n"
       "p.RGBSurface.Pixel(0, 0) = RGB(255, 0, 0, 255)\nDim row As String\nFor y As Integer = 0 To 1\n"
       "  For x As Integer = 0 To 2\n"
       "    row = row + Hex(p.RGBSurface.Pixel(x, y).Red) + \"/\" + Hex(p.RGBSurface.Pixel(x, y).Alpha) + \" \"\n  Next\nNext\n"
       "Print row\nDim copy As New Picture(6, 4, 32)\ncopy.Graphics.DrawPicture(p, 0, 0, 6, 4, 0, 0, 3, 2)\n"
       "Print Hex(copy.RGBSurface.Pixel(5, 3).Green) + \" \" + Hex(copy.RGBSurface.Pixel(0, 0).Blue) + \" \" + Str(copy.Graphics.Width)\n"
      // Graphics has Pixel too.
       "copy.Graphics.Pixel(1, 1) = &c0000FF\n"
       "Print Hex(copy.Graphics.Pixel(1, 1).Blue) + Hex(copy.RGBSurface.Pixel(1, 1).Red)\n",
       "0/FF 0/FF 0/FF 0/FF 20/0 20/0 \n40 FF 6\nFF0\n"},
      // A grey picture applied as a mask (white transparent) to a picture with an alpha channel
      // and to one with a mask; copied back as masks, and the colours alone.
      {"Dim alpha As New Picture(4, 2)\nalpha.Graphics.ForeColor = &cFF0000\nalpha.Graphics.FillRect 0, 0, 4, 2\n"
       "Dim m As New Picture(4, 2, 32)\nm.Graphics.ForeColor = &c000000\nm.Graphics.FillRect 2, 0, 2, 2\n"
       "alpha.ApplyMask m\nDim masked As New Picture(4, 2, 32)\nmasked.ApplyMask m\nDim row As String\n"
       "For Each p As Picture In Array(alpha.CopyMask, masked.CopyMask, masked.Mask, New Picture(4, 2, 32).CopyMask)\n"
       "  row = row + Str(p.RGBSurface.Pixel(0, 0).Red) + \"/\" + Str(p.RGBSurface.Pixel(3, 1).Red) + \" \"\nNext\n"
       "Dim colours As Picture = alpha.CopyColorChannels\n"
       "Print row + Str(alpha.RGBSurface.Pixel(0, 0).Alpha) + \" \" + Str(colours.HasAlphaChannel) + \" \" + Str(colours.RGBSurface.Pixel(3, 0).Red)\n",
       "255/0 255/0 255/0 0/0 255 False 255\n"},
      // Polygons from x, y pairs after element 0, filled or outlined with the pen; a resolution
      // travels through an image file.
      {"Dim p As New Picture(40, 40, 32)\nDim triangle() As Integer = Array(0, 5, 5, 35, 5, 20, 35)\n"
       "p.Graphics.ForeColor = &c0000FF\np.Graphics.FillPolygon(triangle)\n"
       "Dim diagonal() As Double = Array(-1.0, 0.0, 0.0, 39.0, 39.0)\np.Graphics.ForeColor = &cFF0000\n"
       "p.Graphics.DrawPolygon(diagonal)\nDim s As RGBSurface = p.RGBSurface\n"
       "Print Str(s.Pixel(20, 6).Green) + \" \" + Str(s.Pixel(20, 28).Green) + \" \" + Str(s.Pixel(6, 30).Green) + \" \" + Str(s.Pixel(25, 25).Green) + \" \" + Str(s.Pixel(30, 20).Green)\n"
       "p.HorizontalResolution = 144\nDim q As Picture = Picture.FromData(p.ToData(Picture.SaveAsPNG))\n"
       "Print Str(q.HorizontalResolution) + \" \" + Str(q.VerticalResolution)\n",
       "0 0 255 0 255\n144 72\n"},
      // Host errors name their line.
      {"Dim f As FolderItem = GetFolderItem(\"/nonexistent-qvr-dir/x\")\n\nDim s As BinaryStream = BinaryStream.Open(f)\n",
       "test.qvr:3: uncaught IOException: BinaryStream.Open cannot open \"/nonexistent-qvr-dir/x\": No such file or directory\n"},
      {"Dim p As New Picture(2, 2)\nDim g As Graphics = p\n", "test.qvr:2:21: error: \"g\" expects a Graphics but got an instance of Picture\n"},
      {"Dim d As New Dictionary\nPrint d.Value(\"missing\")\n", "test.qvr:2: uncaught KeyNotFoundException: the Dictionary has no key \"missing\"\n"},
      {"Dim p As New Picture(2, 0)\n",
       "test.qvr:1: uncaught InvalidArgumentException: a Picture cannot be 2 by 0 pixels (each side 1 to 32768)\n"},
  });
}

// Picture.Save, ToData (with the later Picture.Formats names) and the older GetData in every
// format, read back by Picture.Open and FromData and by an independent decoder, in both kinds
// of application; the errors each way.
TEST(HostLibrary, PicturesSavedAndOpened) {
  // Each format and how far its samples may be off (JPEG is lossy).
  const std::pair<const char*, int> formats[] = {{"PNG", 0}, {"BMP", 0}, {"TIFF", 0}, {"GIF", 0}, {"JPEG", 6}};
  support::TempFolder folder;
  for (host::AppKind kind : {host::AppKind::Desktop, host::AppKind::Console})
    for (const auto& [format, tolerance] : formats) {
      SCOPED_TRACE(std::string(format) + (kind == host::AppKind::Console ? " console" : " desktop"));
      const std::string path = folder.path(std::string("p.") + format);
      host::Options options;
      options.kind = kind;
      host::Runtime rt(options);
      const std::string program =
          "Dim p As New Picture(40, 30, 32)\np.Graphics.ForeColor = &cE01020\np.Graphics.FillRect(0, 0, 20, 30)\n"
          "p.Save(GetFolderItem(\"" + path + "\"), Picture.SaveAs" + format + ")\n"
          "Dim fromFile As Picture = Picture.Open(GetFolderItem(\"" + path + "\"))\n"
          "Dim fromData As Picture = Picture.FromData(p.ToData(Picture.Formats." + format + ", Picture.QualityMax))\n"
          "Dim older As Picture = Picture.FromData(p.GetData(Picture.Format" + format + "))\n"
          "For Each q As Picture In Array(fromFile, fromData, GetFolderItem(\"" + path + "\").OpenAsPicture, older)\n"
          "  Dim c As Color = q.RGBSurface.Pixel(5, 5)\n  Dim w As Color = q.RGBSurface.Pixel(30, 5)\n"
          "  Print Str(q.Width) + \"x\" + Str(q.Height) + \" \" + Str(c.Red) + \" \" + Str(c.Green) + \" \" + Str(w.Blue)\n"
          "Next\n";
      langtest::Outcome o = langtest::runIn(rt, program);
      ASSERT_EQ(o.status, 0) << o.err;
      EXPECT_EQ(o.leakedObjects, 0u);
      EXPECT_EQ(o.leakedStrings, 0u);
      std::istringstream lines(o.out);
      int width = 0, height = 0, red = 0, green = 0, white = 0;
      char x = 0;
      for (int i = 0; i < 4; ++i) {
        lines >> width >> x >> height >> red >> green >> white;
        EXPECT_EQ(width * 100 + height, 4030);
        EXPECT_NEAR(red, 0xE0, tolerance);
        EXPECT_NEAR(green, 0x10, tolerance);
        EXPECT_NEAR(white, 255, tolerance);
      }
      const support::DecodedImage decoded = support::DecodeIndependently(support::ReadBytes(path));
      ASSERT_TRUE(decoded.ok) << decoded.error;
      EXPECT_EQ(decoded.format, format);
      EXPECT_NEAR(decoded.at(5, 5)[0], 0xE0, tolerance);
      EXPECT_NEAR(decoded.at(30, 29)[2], 255, tolerance);
    }

  const std::string missing = folder.path("missing.png");
  folder.write("junk.png", "no picture here");
  expectAll({
      {"Dim p As Picture = Picture.Open(GetFolderItem(\"" + missing + "\"))\n",
       "test.qvr:1: uncaught IOException: Picture.Open cannot read \"" + missing + "\": No such file or directory\n"},
      {"Dim p As Picture = Picture.Open(GetFolderItem(\"" + folder.path("junk.png") + "\"))\n",
       "test.qvr:1: uncaught UnsupportedFormatException: Picture.Open: \"" + folder.path("junk.png") +
           "\" holds no image this host reads\n"},
      {"Dim p As Picture = Picture.FromData(\"GIF89a\")\n",
       "test.qvr:1: uncaught UnsupportedFormatException: Picture.FromData: the data is no image this host reads\n"},
      {"Dim f As FolderItem\nDim p As Picture = Picture.Open(f)\n",
       "test.qvr:2: uncaught NilObjectException: Picture.Open: the FolderItem is Nil\n"},
      {"Dim p As New Picture(2, 2)\nDim m As MemoryBlock = p.ToData(9)\n",
       "test.qvr:2: uncaught UnsupportedFormatException: Picture.ToData: no image format 9\n"},
      {"Dim p As New Picture(2, 2)\nDim m As MemoryBlock = p.GetData(\"image/webp\")\n",
       "test.qvr:2: uncaught UnsupportedFormatException: Picture.GetData: \"image/webp\" names no image format\n"},
      {"Dim p As New Picture(2, 2)\nDim m As MemoryBlock = p.ToData(Picture.SaveAsJPEG, 101)\n",
       "test.qvr:2: uncaught OutOfBoundsException: Picture.ToData: the quality is 0 to 100, not 101\n"},
      {"Dim p As New Picture(2, 2)\np.Save(GetFolderItem(\"/nonexistent-qvr-dir/p.png\"), Picture.SaveAsPNG)\n",
       "test.qvr:2: uncaught IOException: Picture.Save cannot write \"/nonexistent-qvr-dir/p.png\": No such file or directory\n"},
      {"Print Str(GetFolderItem(\"" + missing + "\").OpenAsPicture Is Nil)\n", "True\n"},
      // The older saving form: a FolderItem given the picture, PNG as the most compatible format.
      {"Dim f As FolderItem = GetFolderItem(\"" + folder.path("old.png") + "\")\n"
       "f.SaveAsPicture(New Picture(3, 2, 32))\nf.SaveAsPicture(New Picture(5, 4, 32), FolderItem.SaveAsJPEG)\n"
       "Print Str(Picture.Open(f).Width)\n",
       "5\n"},
  });
  EXPECT_EQ(support::DecodeIndependently(support::ReadBytes(folder.path("old.png"))).format, "JPEG");
}

// Text in a Picture: ink where DrawString puts it (baseline at y, as wide as StringWidth), in
// both storages; sizes and styles change the measurements as they should; wrapping,
// line endings, condensing and underlining.
TEST(HostLibrary, TextDrawnAndMeasured) {
  const std::string program =
      "Function Ink(p As Picture) As String\n  Dim left As Integer = 9999\n  Dim top As Integer = 9999\n"
      "  Dim right As Integer = -1\n  Dim bottom As Integer = -1\n  For y As Integer = 0 To p.Height - 1\n"
      "    For x As Integer = 0 To p.Width - 1\n      If p.RGBSurface.Pixel(x, y).Green < 128 Then\n        left = Min(left, x)\n"
      "        right = Max(right, x)\n        top = Min(top, y)\n        bottom = Max(bottom, y)\n      End If\n    Next\n"
      "  Next\n  Return Str(left) + \" \" + Str(top) + \" \" + Str(right) + \" \" + Str(bottom)\nEnd Function\n"
      "Function Fresh() As Picture\n  Dim p As New Picture(200, 80, 32)\n  p.Graphics.ForeColor = &cFF0000\n"
      "  p.Graphics.TextSize = 20\n  Return p\nEnd Function\nDim p As Picture = Fresh\nDim g As Graphics = p.Graphics\n"
      "Print Ink(p)\ng.DrawString(\"Hxg\", 10, 40)\nPrint Ink(p)\n"
      "Print Str(g.StringWidth(\"Hxg\")) + \" \" + Str(g.TextAscent) + \" \" + Str(g.TextHeight)\n"
      "Dim regular As Double = g.StringWidth(\"Hello\")\ng.TextSize = 40\nDim doubled As Double = g.StringWidth(\"Hello\")\n"
      "g.TextSize = 20\ng.Bold = True\n"
      "Print Str(doubled / regular > 1.9 And doubled / regular < 2.1) + \" \" + Str(g.StringWidth(\"Hello\") > regular)\n"
      "g.Bold = False\n"
      "Print Str(g.StringHeight(\"one two three\", 0) / g.TextHeight) + \" \" + Str(g.StringHeight(\"one two three\", 60) / g.TextHeight) + \" \" + Str(g.StringHeight(\"one\" + EndOfLine + \"two\", 0) / g.TextHeight)\n"
      "p = Fresh\np.Graphics.DrawString(\"one two three\", 10, 20, 60)\nPrint Ink(p)\np = Fresh\n"
      "p.Graphics.DrawString(\"a long line that cannot fit\", 10, 20, 60, True)\nPrint Ink(p)\np = Fresh\n"
      "p.Graphics.Underline = True\np.Graphics.DrawString(\"xx\", 10, 20)\np.Graphics.DrawString(\"\", 10, 60)\n"
      "Print Ink(p)\n";
  for (host::AppKind kind : {host::AppKind::Desktop, host::AppKind::Console}) {
    host::Options options;
    options.kind = kind;
    host::Runtime rt(options);
    langtest::Outcome o = langtest::runIn(rt, program);
    ASSERT_EQ(o.status, 0) << o.err;
    EXPECT_EQ(o.leakedObjects + o.leakedStrings, 0u);
    std::istringstream out(o.out);
    std::string line;
    std::getline(out, line);
    EXPECT_EQ(line, "9999 9999 -1 -1");  // a new picture has no ink
    int left, top, right, bottom;
    double width, ascent, height;
    out >> left >> top >> right >> bottom >> width >> ascent >> height;
    // "Hxg": the H's top one ascent's cap height above the baseline, the g's tail below it.
    EXPECT_NEAR(left, 10, 2);
    EXPECT_LE(right, 10 + width);  // the g's advance passes its ink
    EXPECT_GT(right, 10 + width - 6);
    EXPECT_GT(top, 40 - ascent - 1);
    EXPECT_LT(top, 40 - 10);
    EXPECT_GT(bottom, 40);
    EXPECT_LT(bottom, 40 - ascent + height + 1);
    EXPECT_GT(height, ascent);
    std::getline(out, line);
    std::getline(out, line);
    EXPECT_EQ(line, "True True");
    std::getline(out, line);
    EXPECT_EQ(line, "1 3 2");
    // Wrapped into three lines a TextHeight apart, none wider than the wrap width.
    out >> left >> top >> right >> bottom;
    EXPECT_LE(right - left, 60);
    EXPECT_GT(bottom, 20 + 2 * height - 2);
    // Condensed: one line, cut to the wrap width.
    out >> left >> top >> right >> bottom;
    EXPECT_LE(right - left, 60);
    EXPECT_LT(bottom, 20 + height / 2);
    // The underline runs below the baseline, under both letters.
    out >> left >> top >> right >> bottom;
    EXPECT_GT(bottom, 20);
    EXPECT_LT(bottom, 60 - height);
  }
}
