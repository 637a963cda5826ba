// Running programs: parse, run, and report what went wrong in words a person can act
// on. Nothing a program does escapes as a crash: program errors, host exceptions,
// platform exceptions and failures of the runtime itself all end in a message and a
// non-zero status.
#include <qvrlang/run.h>

#include "checker.h"
#include "classes.h"
#include "interpreter.h"
#include "parser.h"
#include "text.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

namespace qvrlang {

namespace {

std::string baseName(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

int runSource(host::Runtime& rt, const std::string& source, const std::string& file, std::ostream& out, std::ostream& err,
              const std::string& path) {
  Program program;
  StaticTypes types;
  try {
    program = parseProgram(source, file, targetConstants(rt.options()));
    program.path = path;
    defineClasses(rt, program);
    types = checkProgram(rt, program);
  } catch (const ProgramError& e) {
    err << e.describe(file) << '\n';
    return 1;
  }
  Interpreter interpreter(rt, program, out, err, std::move(types));
  try {
    interpreter.run();
    out.flush();
    return 0;
  } catch (const Quit& quit) {
    out.flush();
    return quit.status;
  } catch (const ProgramError& e) {
    out.flush();
    err << e.describe(file) << '\n';
  } catch (const Raised& raised) {
    out.flush();
    err << file << ":" << raised.where.line << ": " << uncaught(rt, raised) << '\n';
    for (const auto& [method, line] : raised.trace) err << "  in " << method << ", called at line " << line << '\n';
  } catch (const std::bad_alloc&) {
    out.flush();
    err << file << ": the program ran out of memory\n";
  } catch (const host::HostException& e) {
    out.flush();
    err << file << ": uncaught " << e.className() << (e.message().empty() ? "" : ": " + e.message()) << '\n';
  } catch (const std::exception& e) {
    out.flush();
    err << file << ": the runner failed: " << e.what() << '\n';
  }
  return 1;
}

int runFile(host::Runtime& rt, const std::string& path, std::ostream& out, std::ostream& err) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    err << path << ": cannot read this program\n";
    return 2;
  }
  std::stringstream buffer;
  buffer << in.rdbuf();
  return runSource(rt, buffer.str(), baseName(path), out, err, path);
}

const std::string& embeddedExample() {
  static const std::string kExample = R"QVR(' The embedded example of `qvr run`: what a program can do with the plugin today.
Print "Strings, numbers and arrays"
Dim names() As String = Array("tiff", "bmp", "gif", "jpeg", "png")
Print "  " + Str(names.Count) + " formats: " + Join(names, ", ")
Print "  7 / 2 = " + Str(7 / 2) + ", 7 \ 2 = " + Str(7 \ 2) + ", 7 Mod 2 = " + Str(7 Mod 2)
Print "  Format(1234567.891, ""#,##0.00"") = " + Format(1234567.891, "#,##0.00")

Print "MemoryBlock"
Dim mb As New MemoryBlock(4)
mb.Byte(0) = &h51
mb.Byte(1) = &h56
mb.Byte(2) = &h52
mb.Byte(3) = &h21
Print "  " + Str(mb.Size) + " bytes: " + mb.StringValue(0, 4)

Print "Exceptions"
Try
  Dim b As Integer = mb.Byte(10)
  Print "  read " + Str(b)
Catch e As OutOfBoundsException
  Print "  caught OutOfBoundsException: " + e.Message
End Try

Print "The image classes"
Dim img As New NSImageQVR
Print "  New NSImageQVR: " + If(img.Handle = 0, "no image yet", "holds an image")
Dim rep As NSImageRepQVR = New NSBitmapImageRepQVR(2, 2, 8, 4, True, "NSDeviceRGBColorSpace", 0, 0)
Print "  NSBitmapImageRepQVR IsA NSImageRepQVR: " + Str(rep IsA NSImageRepQVR)

Print "The sibling plugin's value classes"
Dim size As New NSSizeQVR(64, 48)
Print "  NSSizeQVR: " + Str(size.Width) + " x " + Str(size.Height)
Dim frame As New NSRectQVR(0, 0, 64, 48)
Print "  NSRectQVR contains (10, 10): " + Str(frame.Contains(10, 10))
Dim orange As New NSColorQVR(1, 0.5, 0)
Print "  NSColorQVR(1, 0.5, 0): green " + Format(orange.GreenComponent, "0.00") + " in " + orange.ColorSpaceName
Print "  NSColorQVR.WhiteColor Is NSColorQVR.WhiteColor: " + Str(NSColorQVR.WhiteColor Is NSColorQVR.WhiteColor)

Print "A Picture drawn by the host"
Dim pic As New Picture(8, 6, 32)
pic.Graphics.DrawingColor = &c3366CC
pic.Graphics.FillRect(0, 0, 8, 4)
pic.Graphics.DrawingColor = &cFF8000
pic.Graphics.FillRect(2, 4, 4, 2)
Dim corner As Color = pic.RGBSurface.Pixel(0, 0)
Print "  " + Str(pic.Width) + " x " + Str(pic.Height) + ", alpha channel " + Str(pic.HasAlphaChannel) + _
  ", top left red " + Str(corner.Red) + " green " + Str(corner.Green) + " blue " + Str(corner.Blue)
Dim counts As New Dictionary
For y As Integer = 0 To pic.Height - 1
  For x As Integer = 0 To pic.Width - 1
    Dim key As String = Str(pic.RGBSurface.Pixel(x, y))
    counts.Value(key) = counts.Lookup(key, 0) + 1
  Next
Next
For Each key As Variant In counts.Keys
  Print "  " + Str(counts.Value(key)) + " pixels of " + key
Next

Print "The picture as an image"
Dim drawn As New NSImageQVR(pic)
Print "  New NSImageQVR(pic): " + Str(drawn.size.Width) + " x " + Str(drawn.size.Height)
' A mask: black keeps a pixel, white clears it; here the two left columns go.
Dim cut As New Picture(pic.Width, pic.Height, 32)
cut.Graphics.DrawingColor = &c000000
cut.Graphics.FillRect(0, 0, pic.Width, pic.Height)
cut.Graphics.DrawingColor = &cFFFFFF
cut.Graphics.FillRect(0, 0, 2, pic.Height)
Dim masked As New NSImageQVR(pic, cut)
Print "  New NSImageQVR(pic, mask): " + Str(masked.size.Width) + " x " + Str(masked.size.Height)
Dim scaled As NSImageQVR = masked.imageByScalingToSize(32, 24)
Print "  scaled: " + Str(scaled.size.Width) + " x " + Str(scaled.size.Height)
Dim back As Picture = scaled.CopyPictureWithMask
Dim backMask As Picture = back.Mask(False)
Print "  back to a Picture: " + Str(back.Width) + " x " + Str(back.Height) + ", mask at (0, 0) " + _
  Str(backMask.RGBSurface.Pixel(0, 0).Red) + ", at (31, 0) " + Str(backMask.RGBSurface.Pixel(31, 0).Red)
Dim faded As NSImageQVR = scaled.imageByFadingToFraction(0.5)
Print "  faded to half: " + Str(faded.size.Width) + " x " + Str(faded.size.Height)

Print "Files"
Dim folder As FolderItem = SpecialFolder.Temporary.Child("qvr-run-example")
If Not folder.Exists Then
  folder.CreateAsFolder
End If
Dim formats() As String = Array("png", "jpeg", "tiff", "gif", "bmp")
For Each kind As String In formats
  Dim data As MemoryBlock
  Select Case kind
  Case "png"
    data = faded.PNGRepresentation
  Case "jpeg"
    data = scaled.JPEGRepresentationWithCompressionFactor(0.8)
  Case "tiff"
    data = faded.TIFFRepresentation
  Case "gif"
    data = scaled.GIFRepresentation
  Case "bmp"
    data = scaled.BMPRepresentation
  End Select
  Dim target As FolderItem = folder.Child("example." + kind)
  Dim stream As BinaryStream = BinaryStream.Create(target, True)
  stream.Write(data.StringValue(0, data.Size))
  stream.Close
  Print "  " + target.Name + ": " + UpperCase(kind) + ", " + If(target.Length = data.Size And data.Size > 0, "written", "NOT written")
Next
Print "  into " + folder.NativePath
)QVR";
  return kExample;
}

int runCommand(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  host::Options options;
  std::string program;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--no-siblings") {
      options.siblings = false;
    } else if (a == "--console") {
      options.kind = host::AppKind::Console;
    } else if (a == "--web") {
      options.kind = host::AppKind::Web;
    } else if (a == "--host-version" && i + 1 < args.size()) {
      const std::string& v = args[++i];
      char* end = nullptr;
      double version = std::strtod(v.c_str(), &end);
      if (v == "none") {
        options.version = std::nullopt;
      } else if (end == v.c_str() || *end) {
        err << "qvr run: --host-version takes a number or \"none\", not \"" << v << "\"\n";
        return 2;
      } else {
        options.version = version;
      }
    } else if (!a.empty() && a[0] == '-') {
      err << "qvr run: unknown option " << a << "\nusage: qvr run [--host-version V|none] [--console|--web] [--no-siblings] [PROGRAM]\n";
      return 2;
    } else if (program.empty()) {
      program = a;
    } else {
      err << "qvr run: one program at a time\n";
      return 2;
    }
  }
  try {
    host::Runtime rt(options);
    rt.loadStandardPlugins();
    if (program.empty()) return runSource(rt, embeddedExample(), "example", out, err);
    return runFile(rt, program, out, err);
  } catch (const std::exception& e) {
    err << "qvr run: " << e.what() << '\n';
    return 1;
  }
}

}  // namespace qvrlang
