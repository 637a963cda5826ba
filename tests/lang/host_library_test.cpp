// Programs using the host's own classes: Dictionary with Variant keys and values, host
// global functions, pictures checked by their pixels, BinaryStream errors reported with
// their line, and type errors with positions. No run leaves a host object or string.
#include "lang_support.h"
#include "support/independent_decoder.h"
#include "support/plugin_host.h"

#include <gtest/gtest.h>

#include <sstream>

using langtest::error;
using langtest::output;
using langtest::run;

namespace {

// What a program printed, checking that it ran to its end and left nothing alive.
std::string cleanOutput(const std::string& source) {
  langtest::Outcome o = run(source);
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(o.leakedObjects, 0u);
  EXPECT_EQ(o.leakedStrings, 0u);
  return o.out;
}

}  // namespace

TEST(HostLibrary, DictionaryValuesAreVariants) {
  EXPECT_EQ(cleanOutput(
      "Dim d As New Dictionary\n"
      "d.Value(\"One\") = 1\n"
      "d.Value(2.0) = \"two\"\n"
      "d.Value(\"ONE\") = d.Value(\"one\") * 10\n"
      "Dim sum As Integer\n"
      "For Each k As Variant In d.Keys()\n"
      "  Print k + \": \" + d.Value(k)\n"
      "Next\n"
      "Dim values() As Variant = d.Values\n"
      "Print Str(values.LastIndex) + \" \" + Str(d.HasKey(2)) + \" \" + Str(VarType(d.Value(2))) + \" \" + d.Lookup(3, \"none\")\n"
      "Dim v As Variant = d\n"
      "Print Str(v IsA Dictionary) + \" \" + Str(VarType(v)) + \" \" + Str(VarType(1.5))\n"),
      "One: 10\n2: two\n1 True 8 none\nTrue 9 5\n");
}

TEST(HostLibrary, PicturesByTheirPixels) {
  EXPECT_EQ(cleanOutput(
      "Dim p As New Picture(3, 2)\n"
      "p.Graphics.ForeColor = &c204060\n"
      "p.Graphics.FillRect(1, 1, 2, 1)\n"
      "p.RGBSurface.Pixel(0, 0) = RGB(255, 0, 0, 255)\n"
      "Dim row As String\n"
      "For y As Integer = 0 To 1\n"
      "  For x As Integer = 0 To 2\n"
      "    row = row + Hex(p.RGBSurface.Pixel(x, y).Red) + \"/\" + Hex(p.RGBSurface.Pixel(x, y).Alpha) + \" \"\n"
      "  Next\n"
      "Next\n"
      "Print row\n"
      "Dim copy As New Picture(6, 4, 32)\n"
      "copy.Graphics.DrawPicture(p, 0, 0, 6, 4, 0, 0, 3, 2)\n"
      "Print Hex(copy.RGBSurface.Pixel(5, 3).Green) + \" \" + Hex(copy.RGBSurface.Pixel(0, 0).Blue) + \" \" + Str(copy.Graphics.Width)\n"),
      "0/FF 0/FF 0/FF 0/FF 20/0 20/0 \n40 FF 6\n");
}

TEST(HostLibrary, HostErrorsNameTheirLine) {
  EXPECT_EQ(error("Dim f As FolderItem = GetFolderItem(\"/nonexistent-qvr-dir/x\")\n\nDim s As BinaryStream = BinaryStream.Open(f)\n"),
            "test.qvr:3: uncaught IOException: BinaryStream.Open cannot open \"/nonexistent-qvr-dir/x\": No such file or "
            "directory\n");
  EXPECT_EQ(error("Dim p As New Picture(2, 2)\nDim g As Graphics = p\n"),
            "test.qvr:2:21: error: \"g\" expects a Graphics but got an instance of Picture\n");
  EXPECT_EQ(error("Dim d As New Dictionary\nPrint d.Value(\"missing\")\n"),
            "test.qvr:2: uncaught KeyNotFoundException: the Dictionary has no key \"missing\"\n");
  EXPECT_EQ(error("Dim p As New Picture(2, 0)\n"),
            "test.qvr:1: uncaught InvalidArgumentException: a Picture cannot be 2 by 0 pixels (each side 1 to 32768)\n");
}

// Picture.Save and ToData in every format, read back by Picture.Open and FromData and by an
// independent decoder, in both kinds of application; the errors each way.
TEST(HostLibrary, PicturesSavedAndOpened) {
  const struct {
    const char* format;
    const char* pillowName;
    int tolerance;  // JPEG is lossy
  } formats[] = {{"PNG", "PNG", 0}, {"BMP", "BMP", 0}, {"TIFF", "TIFF", 0}, {"GIF", "GIF", 0}, {"JPEG", "JPEG", 6}};
  support::TempFolder folder;
  for (host::AppKind kind : {host::AppKind::Desktop, host::AppKind::Console})
    for (const auto& f : formats) {
      SCOPED_TRACE(std::string(f.format) + (kind == host::AppKind::Console ? " console" : " desktop"));
      const std::string path = folder.path(std::string("p.") + f.format);
      host::Options options;
      options.kind = kind;
      host::Runtime rt(options);
      const std::string program =
          "Dim p As New Picture(40, 30, 32)\n"
          "p.Graphics.ForeColor = &cE01020\n"
          "p.Graphics.FillRect(0, 0, 20, 30)\n"
          "p.Save(GetFolderItem(\"" + path + "\"), Picture.SaveAs" + f.format + ")\n"
          "Dim fromFile As Picture = Picture.Open(GetFolderItem(\"" + path + "\"))\n"
          "Dim fromData As Picture = Picture.FromData(p.ToData(Picture.SaveAs" + f.format + ", Picture.QualityMax))\n"
          "For Each q As Picture In Array(fromFile, fromData, GetFolderItem(\"" + path + "\").OpenAsPicture)\n"
          "  Dim c As Color = q.RGBSurface.Pixel(5, 5)\n"
          "  Dim w As Color = q.RGBSurface.Pixel(30, 5)\n"
          "  Print Str(q.Width) + \"x\" + Str(q.Height) + \" \" + Str(c.Red) + \" \" + Str(c.Green) + \" \" + Str(w.Blue)\n"
          "Next\n";
      langtest::Outcome o = langtest::runIn(rt, program);
      ASSERT_EQ(o.status, 0) << o.err;
      EXPECT_EQ(o.leakedObjects, 0u);
      EXPECT_EQ(o.leakedStrings, 0u);
      std::istringstream lines(o.out);
      int width = 0, height = 0, red = 0, green = 0, white = 0;
      char x = 0;
      for (int i = 0; i < 3; ++i) {
        lines >> width >> x >> height >> red >> green >> white;
        EXPECT_EQ(width * 100 + height, 4030);
        EXPECT_NEAR(red, 0xE0, f.tolerance);
        EXPECT_NEAR(green, 0x10, f.tolerance);
        EXPECT_NEAR(white, 255, f.tolerance);
      }
      const support::DecodedImage decoded = support::DecodeIndependently(support::ReadBytes(path));
      ASSERT_TRUE(decoded.ok) << decoded.error;
      EXPECT_EQ(decoded.format, f.pillowName);
      EXPECT_NEAR(decoded.at(5, 5)[0], 0xE0, f.tolerance);
      EXPECT_NEAR(decoded.at(30, 29)[2], 255, f.tolerance);
    }

  const std::string missing = folder.path("missing.png");
  folder.write("junk.png", "no picture here");
  const struct {
    std::string statement, message;
  } errors[] = {
      {"Dim p As Picture = Picture.Open(GetFolderItem(\"" + missing + "\"))",
       "uncaught IOException: Picture.Open cannot read \"" + missing + "\": No such file or directory"},
      {"Dim p As Picture = Picture.Open(GetFolderItem(\"" + folder.path("junk.png") + "\"))",
       "uncaught UnsupportedFormatException: Picture.Open: \"" + folder.path("junk.png") +
           "\" holds no image this host reads"},
      {"Dim p As Picture = Picture.FromData(\"GIF89a\")",
       "uncaught UnsupportedFormatException: Picture.FromData: the data is no image this host reads"},
      {"Dim f As FolderItem\nDim p As Picture = Picture.Open(f)",
       "uncaught NilObjectException: Picture.Open: the FolderItem is Nil"},
      {"Dim p As New Picture(2, 2)\nDim m As MemoryBlock = p.ToData(9)",
       "uncaught UnsupportedFormatException: Picture.ToData: no image format 9"},
      {"Dim p As New Picture(2, 2)\nDim m As MemoryBlock = p.ToData(Picture.SaveAsJPEG, 101)",
       "uncaught OutOfBoundsException: Picture.ToData: the quality is 0 to 100, not 101"},
      {"Dim p As New Picture(2, 2)\np.Save(GetFolderItem(\"/nonexistent-qvr-dir/p.png\"), Picture.SaveAsPNG)",
       "uncaught IOException: Picture.Save cannot write \"/nonexistent-qvr-dir/p.png\": No such file or directory"},
  };
  for (const auto& e : errors) {
    langtest::Outcome o = run(e.statement + "\n");
    EXPECT_NE(o.err.find(e.message), std::string::npos) << o.err;
    EXPECT_EQ(o.leakedObjects, 0u) << e.statement;
    EXPECT_EQ(o.leakedStrings, 0u) << e.statement;
  }
  EXPECT_EQ(output("Print Str(GetFolderItem(\"" + missing + "\").OpenAsPicture Is Nil)\n"), "True\n");
}
