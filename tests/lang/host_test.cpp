// Programs meeting host and plugin classes: constructors and methods chosen among
// overloads by the host, properties read and set, assignable methods, shared members by
// class name, identity of wrappers, and runs that leave no host object or string alive.
#include "lang_support.h"

TEST(HostClasses, OverloadsPropertiesMethodsSharedMembersAndNothingLeftAlive) {
  host::Runtime rt;
  rt.loadStandardPlugins();
  // Wrappers of shared platform objects (the black and white colours) stay cached by the
  // plugin once made; the programs' own objects must not stay.
  langtest::runIn(rt, "Call NSColorQVR.BlackColor\nCall NSColorQVR.WhiteColor\n");
  langtest::expectAll(rt, {
      {"Dim grey As New NSColorQVR(0.5)\nDim red As New NSColorQVR(1, 0, 0)\nDim half As New NSColorQVR(0, 0, 1, 0.5)\n"
       "Print Format(grey.RedComponent, \"0.0\") + \" \" + Format(red.GreenComponent, \"0.0\") + \" \" + "
       "Format(half.AlphaComponent, \"0.0\")\n"
       // Variables holding Nil choose by their declared class, with New and with Dim As New.
       "Dim f As FolderItem\nDim m As MemoryBlock\nDim p As Picture\nDim a As New NSImageQVR(f)\n"
       "Dim b As NSImageQVR = New NSImageQVR(m)\nDim c As New NSImageQVR(p, Nil)\nPrint Str(a.Handle) + Str(b.Handle) + Str(c.isValid)\n"
       // Without arguments, the overload taking none wins over one with a default.
       "Dim rep As New NSBitmapImageRepQVR(New Picture(2, 2, 32))\n"
       "Print rep.TIFFRepresentation.StringValue(0, 2) + rep.TIFFRepresentation(Nil).StringValue(0, 2)\n",
       "0.5 0.0 0.5\n00False\nIIII\n"},
      // Integer arguments reach Double and Single parameters.
      {"Dim r As New NSRectQVR(1, 2, 3, 4)\nPrint Str(r.X + r.Y + r.Width + r.Height)\n", "10\n"},
      {"Dim s As New NSSizeQVR(1, 2)\ns.Width = 7.5\ns.Height = s.Height * 2\nPrint Str(s.Width) + \" \" + Str(s.Height)\n", "7.5 4\n"},
      {"Dim r As New NSRectQVR(0, 0, 10, 10)\nPrint Str(r.IsEmpty) + Str(r.IsEmpty()) + Str(r.Contains(5, 5))\n"
       // A method that answers an array, indexed straight away.
       "Dim img As New NSImageQVR(New Picture(3, 2, 32))\nDim rep As NSImageRepQVR = img.representations(0)\n"
       "Print Str(rep.pixelsHigh) + Str(img.representations()(0).Handle = rep.Handle)\n",
       "FalseFalseTrue\n2True\n"},
      {"Dim a As NSColorQVR = NSColorQVR.BlackColor\nDim b As NSColorQVR = NSColorQVR.BlackColor()\n"
       "Print Str(a Is b) + \" \" + Str(a Is NSColorQVR.WhiteColor)\n",
       "True False\n"},
      {"Dim m As New MemoryBlock(4)\nm.Int32Value(0) = -2\nm.Byte(2) = 200\nm.StringValue(0, 2) = \"hi\"\n"
       "Print Str(m.Byte(2)) + \" \" + m.StringValue(0, 2) + \" \" + Str(m.Byte(3))\n",
       "200 hi 255\n"},
      // Wrong arguments are found by declared types before the program runs: one
      // declaration names the parameter, several are listed.
      {"Dim r As New NSRectQVR(0, 0, 1, 1)\nPrint Str(r.Contains(\"x\", 1))\n",
       "test.qvr:2:22: error: parameter x of NSRectQVR.Contains expects a Double but got a String\n"},
      {"Dim i As NSImageQVR = NSImageQVR.imageWithData(5)\n",
       "test.qvr:1:34: error: no version of NSImageQVR.imageWithData takes (Integer); declared: "
       "imageWithData(data as string) as NSImageQVR | imageWithData(data as memoryblock) as NSImageQVR\n"},
      {"Dim s As NSSizeQVR = New NSRectQVR(0, 0, 1, 1)\n", "test.qvr:1:22: error: \"s\" expects an NSSizeQVR but got an instance of NSRectQVR\n"},
      {"Dim r As NSImageRepQVR = New NSBitmapImageRepQVR(New MemoryBlock(4))\nPrint Str(r IsA NSBitmapImageRepQVR)\n", "True\n"},
      {"Dim m As New MemoryBlock(8)\nDim c As New NSColorQVR(0.5)\nDim list() As NSColorQVR\nlist.Append c\n"
       "list.Append NSColorQVR.WhiteColor\nDim s As String = \"a\" + Str(m.Size)\nTry\n  m.Byte(99) = 1\nCatch e As OutOfBoundsException\n"
       "  s = e.Message\nEnd Try\n",
       ""},
  });
}
