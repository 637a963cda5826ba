// Programs using the host's own classes: Dictionary with Variant keys and values, host
// global functions, pictures checked by their pixels, BinaryStream errors reported with
// their line, and type errors with positions. No run leaves a host object or string.
#include "lang_support.h"

#include <gtest/gtest.h>

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
