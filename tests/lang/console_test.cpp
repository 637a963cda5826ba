// What a console program reaches for besides the plugin: System, StdOut and StdErr, App,
// Quit, text encodings, number conversions, MemoryBlock typed values, text files and
// folders, and the static types of the host's global functions, of the built-ins and of
// Array(...). Each case is a program and what it prints: its output, "|", its error output.
#include "lang_support.h"

namespace {

// Every case here shows both streams.
void expectAll(const std::vector<langtest::Case>& cases) { langtest::expectAll(cases, false, true); }

}  // namespace

TEST(Console, GlobalFunctionsAndArrayLiteralsHaveStaticTypes) {
  expectAll({
      {"Dim a() As Integer = Array(1, 2, 3)\nDim b() As Double = Array(1, 2.5)\nDim s() As String = Array(\"x\")\n"
       "Dim e() As RuntimeException = Array(New NilObjectException, Nil, New IOException)\n"
       "Print Str(a.Count) + Str(b(1)) + s(0) + Str(e.Count) + Str(VarType(1) + Len(\"ab\")) + GetFolderItem(\"/tmp\").Name\n",
       "32.5x35tmp\n|"},
      {"Dim a() As String = Array(1, 2)\n", "|test.qvr:1:21: error: \"a\" expects a String() but got an Integer()\n"},
      {"Dim a() As Integer = Array(1, \"a\")\n", "|test.qvr:1:31: error: Array cannot hold an Integer and a String together\n"},
      {"Dim e() As NilObjectException = Array(New NilObjectException, New IOException)\n",
       "|test.qvr:1:33: error: \"e\" expects a NilObjectException() but got a RuntimeException()\n"},
      {"Dim s As String = VarType(1)\n", "|test.qvr:1:19: error: \"s\" expects a String but got an Int32\n"},
      {"Print GetFolderItem(3).Name\n", "|test.qvr:1:21: error: parameter path of GetFolderItem expects a String but got an Integer\n"},
      {"Dim n As Integer = Max(2, 7)\nDim d As Double = Abs(-1.5)\nDim parts() As String = Split(\"a b\")\nPrint Str(n + d) + parts(1)\n", "8.5b\n|"},
      {"Dim n As String = Max(2, 7)\n", "|test.qvr:1:19: error: \"n\" expects a String but got an Integer\n"},
      {"Dim s As String = \"abc\"\nDim n As Integer = s.Length + s.IndexOf(\"c\")\nDim parts() As String = s.Split(\"b\")\n"
       "Dim e As TextEncoding = s.Encoding\nPrint Str(n) + parts(1) + e.InternetName + (-3).Abs.ToString + &c010203.Blue.ToString\n",
       "5cUTF-833\n|"},
      {"Print \"start\"\nDim n As Integer = \"abc\".Lenght\n", "|test.qvr:2:26: error: a String has no member \"Lenght\"\n"},
      {"Dim s As String = \"abc\".Length\n", "|test.qvr:1:25: error: \"s\" expects a String but got an Integer\n"},
      // Built-ins check their arguments before the program runs, as the host's compiler does.
      {"Print \"start\"\nIf False Then Print 5\n",
       "|test.qvr:2:15: error: Print expects a String for argument 1 but got an Integer; convert it with Str\n"},
      {"Dim n As Integer = Len(VarType(1))\n", "|test.qvr:1:20: error: Len expects a String for argument 1 but got an Int32; convert it with Str\n"},
      {"Print Left(\"abc\", \"1\")\n", "|test.qvr:1:7: error: Left expects an Integer for argument 2 but got a String\n"},
      {"Print Str(Round(\"2.5\"))\n", "|test.qvr:1:11: error: Round expects a number for argument 1 but got a String; convert it with Val\n"},
      {"Dim m As New MemoryBlock(2)\nm.Byte(0) = 104\nm.Byte(1) = 105\nPrint m\nPrint Left(m, 1) + Str(Len(m))\n", "hi\nh2\n|"},
  });
}

TEST(Console, SystemStdOutStdErrAppQuitAndTextEncodingsAndNumbers) {
  expectAll({
      {"System.DebugLog(\"log\")\nStdOut.Write \"a\"\nStdOut.Write(\"b\")\nStdOut.WriteLine \"c\"\nStdOut.WriteLine\nStdOut.Flush\n"
       "StdErr.Write(\"e\")\nStdErr.WriteLine(\"rr\")\nApp.DoEvents\nApp.DoEvents(1)\nApp.YieldToNextThread\n"
       "Print Str(System.Ticks >= 0) + Str(System.Microseconds >= 0)\n",
       "abc\n\nTrueTrue\n|log\nerr\n"},
      {"System.EnvironmentVariable(\"QVR_CONSOLE_TEST\") = \"on\"\n"
       "Print System.EnvironmentVariable(\"QVR_CONSOLE_TEST\") + \"|\" + System.EnvironmentVariable(\"QVR_CONSOLE_UNSET\") + \"|\"\n",
       "on||\n|"},
      {"Try\n  System.EnvironmentVariable(\"A=B\") = \"x\"\nCatch e As InvalidArgumentException\n  Print e.Message\nEnd Try\n",
       "\"A=B\" cannot name an environment variable\n|"},
      {"Print \"before\"\nTry\n  Quit(3)\nFinally\n  Print \"not run\"\nEnd Try\n", "before\n|"},
      {"Print App.ExecutableFile.Name\n", "|test.qvr:1: uncaught NilObjectException: this program has no file\n"},
      {"System.Beep\n", "|test.qvr:1:8: error: the System module has no member \"Beep\"\n"},
      {"Dim x As Integer = System\n", "|test.qvr:1:20: error: the System module is used through its members (System.DebugLog, ...)\n"},
      {"StdOut.Print(\"x\")\n", "|test.qvr:1:8: error: StdOut has no member \"Print\"\n"},
      {"Dim w As Integer = App.MajorVersion\n", "|test.qvr:1:24: error: the App object has no member \"MajorVersion\"\n"},
      // Text encodings and numbers convert.
      {"Dim s As String = \"Grüße\"\nPrint s.Encoding.InternetName + \" \" + Str(s.Encoding = Encodings.UTF8) + \" \" + Str(s.Encoding <> Encodings.ASCII)\n"
       "Dim latin As String = ConvertEncoding(s, Encodings.WindowsLatin1)\n"
       "Print Str(latin.LenB) + \" \" + Str(LenB(s)) + \" \" + Encoding(latin).InternetName + \" \" + Str(latin = s)\n"
       "Dim raw As String = DefineEncoding(latin, Nil)\nPrint Str(raw.Encoding Is Nil) + \" \" + Str(Encodings.UTF8.IsValidData(raw)) + \" \" + "
       "Str(Encodings.WindowsLatin1.IsValidData(raw))\n"
       "Print raw.DefineEncoding(Encodings.ISOLatin1).ConvertEncoding(Encodings.UTF8) + \" \" + Str(Encodings.UTF16.Chr(233).LenB)\n",
       "UTF-8 True True\n5 7 windows-1252 True\nTrue False True\nGrüße 2\n|"},
      {"Dim e As TextEncoding = GetInternetTextEncoding(\"UTF-16LE\")\nPrint e.InternetName + \" \" + Str(e.Base) + \" \" + Str(e.Format) + \" \" + "
       "Hex(Encodings.UTF8.Code) + \" \" + Str(e.Equals(Encodings.UTF16LE)) + \" \" + Str(e = Encodings.UTF16BE) + \" \" + "
       "GetTextEncoding(0).InternetName + \" \" + Str(GetInternetTextEncoding(\"klingon\") Is Nil)\n",
       "UTF-16LE 256 5 8000100 True False macintosh True\n|"},
      {"Print ConvertEncoding(\"x\", Nil)\n", "|test.qvr:1: uncaught NilObjectException: ConvertEncoding was given a Nil TextEncoding\n"},
      {"Dim n As Integer = Encodings.UTF8\n", "|test.qvr:1:30: error: \"n\" expects an Integer but got a TextEncoding\n"},
      // Numbers from and to text.
      {"Dim d As Double = -2.7\nDim i As Integer = d\nDim j As Integer = 2.7\n"
       "Print Str(i) + \" \" + Str(j) + \" \" + Str(Integer.FromString(\" 42 \") + 1) + \" \" + Str(Double.FromString(\"2.5e1\")) + \" \" + "
       "Str(CType(3.9, Integer)) + \" \" + CStr(7) + \" \" + (8).ToString + \" \" + Format(1.5, \"0.00\") + \" \" + Str(Val(\"12kg\")) + \" \" + Str(Color.RGB(1, 2, 3).Blue) + \" \" + Hex(Color.Teal.Blue) + Str(Color.Clear.Alpha) + Str(Color.HSV(0, 1, 1) = Color.Red) + \" \" + "
       "Str(EndOfLine.Windows.LenB + EndOfLine.Unix.LenB + EndOfLine.Macintosh.LenB)\n",
       "-2 2 43 25 3 7 8 1.50 12 3 80255True 4\n|"},
      {"Try\n  Call Integer.FromString(\"12kg\")\nCatch e As InvalidArgumentException\n  Print e.Message\nEnd Try\n"
       "Try\n  Call Double.FromString(\"\")\nCatch e As InvalidArgumentException\n  Print e.Message\nEnd Try\n",
       "\"12kg\" is not an Integer\n\"\" is not a Double\n|"},
      {"Dim n As Integer = Integer(2.5)\n",
       "|test.qvr:1:20: error: Integer is a type, not a function: convert with CType(value, Integer) or by assigning to an Integer variable\n"},
      {"Dim s As String = Integer.FromString(\"1\")\n", "|test.qvr:1:27: error: \"s\" expects a String but got an Integer\n"},
  });
}

TEST(Console, TypedValuesInMemoryBlocksAndFilesAndFolders) {
  expectAll({
      {"Dim m As New MemoryBlock(16)\nm.UInt16Value(0) = &h0102\nm.Int32Value(2) = -2\nm.DoubleValue(8) = 1.5\n"
       "Print Str(m.LittleEndian) + \" \" + Str(m.Byte(0)) + \" \" + Str(m.UInt8Value(1)) + \" \" + Str(m.Int8Value(2)) + \" \" + "
       "Str(m.UInt32Value(2)) + \" \" + Str(m.DoubleValue(8)) + \" \" + Str(m.Short(2)) + \" \" + Str(m.BooleanValue(0))\n"
       "m.LittleEndian = False\nPrint Hex(m.UInt16Value(0)) + \" \" + Str(m.Int32Value(2) = -2)\nm.Int64Value(8) = -3\n"
       "m.SingleValue(4) = 0.25\nPrint Str(m.Byte(15)) + \" \" + Str(m.Int64Value(8)) + \" \" + Str(m.SingleValue(4)) + \" \" + Hex(m.Byte(4))\n"
       "m.CString(0) = \"hi\"\nPrint m.CString(0) + \" \" + Str(m.Left(2).Size) + \" \" + m.Mid(0, 2).StringValue(0, 2) + \" \" + "
       "Str(m.Right(3).Size) + \" \" + Str(m.Mid(10).Size)\n",
       "True 2 1 -2 4294967294 1.5 -2 True\n201 False\n253 -3 0.25 3E\nhi 2 hi 3 6\n|"},
      {"Dim m As New MemoryBlock(4)\nPrint Str(m.UInt32Value(1))\n", "|test.qvr:2: uncaught OutOfBoundsException: MemoryBlock.UInt32Value: offset 1 is outside the block\n"},
      {"Dim m As New MemoryBlock(2)\nm.CString(0) = \"ab\"\n", "|test.qvr:2: uncaught OutOfBoundsException: MemoryBlock.CString: offset 0 is outside the block\n"},
      // A Ptr to a block's bytes, its typed members in this machine's order; Nil and unmapped addresses raise.
      {"Dim m As New MemoryBlock(16)\nDim p As Ptr = m\np.UInt16(0) = &h0102\np.Int32(4) = -2\np.Double(8) = 1.5\n"
       "Print Str(m.Byte(0)) + \" \" + Str(p.Int8(4)) + \" \" + Str(p.UInt32(4)) + \" \" + Str(m.DoubleValue(8)) + \" \" + Str(p.Single(8))\n"
       "p.CString(2) = \"ok\"\nPrint m.CString(2) + p.CString(2) + \" \" + Str(p.Ptr(0) <> Nil)\nDim q As Ptr\n"
       "Try\n  q.Byte(0) = 1\nCatch e As NilObjectException\n  Print e.Message\nEnd Try\nPrint Str(p.Byte(&h7FFFFFFFFFFF))\n",
       "2 -2 4294967294 1.5 0\nokok True\nPtr.Byte used on a Ptr that is Nil\n|test.qvr:15: uncaught OutOfBoundsException: Ptr.Byte: no memory to read at that address\n"},
      // Text files and folders.
      {"Dim f As FolderItem = SpecialFolder.Temporary.Child(\"qvr-console-dir\")\nf.CreateFolder\n"
       "Print Str(f.IsFolder) + \" \" + Str(f.ShellPath = f.NativePath) + \" \" + f.DisplayName\nf.Remove\n"
       "Try\n  f.Remove\nCatch e As IOException\n  Print Str(e.ErrorNumber) + \" \" + Str(f.Exists)\nEnd Try\n",
       "True True qvr-console-dir\n2 False\n|"},
      {"Dim f As FolderItem = SpecialFolder.Temporary.Child(\"qvr-console-text.txt\")\n"
       "Dim t As TextOutputStream = TextOutputStream.Create(f)\nt.WriteLine(\"first\")\nt.Write(\"sec\")\nt.WriteLine \"ond\"\nt.Close\n"
       "t = f.AppendToTextFile\nt.Encoding = Encodings.WindowsLatin1\nt.Delimiter = Chr(13) + Chr(10)\nt.WriteLine(\"Grüße\")\nt.Close\n"
       "Print Str(f.Length)\nDim r As TextInputStream = TextInputStream.Open(f)\nWhile Not r.EOF\n  Print \"[\" + r.ReadLine + \"]\"\nWend\nr.Close\n"
       "r = f.OpenAsTextFile\nr.Encoding = Encodings.WindowsLatin1\nPrint r.Read(3) + \"|\" + Str(r.ReadAll.Length) + \" \" + Str(r.EndOfFile)\nr.Close\n"
       "Try\n  Call r.ReadLine\nCatch e As IOException\n  Print e.Message\nEnd Try\nf.Delete\n"
       "Try\n  r = TextInputStream.Open(f)\nCatch e As IOException\n  Print Str(e.ErrorNumber)\nEnd Try\n",
       "20\n[first]\n[second]\n[Gr\xfc\xdf" "e]\nfir|17 True\nTextInputStream.ReadLine: the stream is closed\n2\n|"},
      // Typed values in either byte order, Pascal strings, streams over a MemoryBlock and a String.
      {"Dim f As FolderItem = SpecialFolder.Temporary.Child(\"qvr-console.bin\")\nDim bs As BinaryStream = f.CreateBinaryFile(\"\")\n"
       "bs.WriteInt32 258\nbs.LittleEndian = True\nbs.WriteUInt16 &hABCD\nbs.WriteDouble 1.5\nbs.WritePString \"hey\"\nbs.WriteByte 200\nbs.Close\n"
       "bs = f.OpenAsBinaryFile\nPrint Str(f.Length) + \" \" + Str(bs.ReadInt32) + \" \" + Hex(bs.ReadUInt16)\nbs.LittleEndian = True\nbs.Position = 4\n"
       "Print Hex(bs.ReadUInt16) + \" \" + Str(bs.ReadDouble) + \" \" + bs.ReadPString + \" \" + Str(bs.ReadByte) + \" \" + Str(bs.EOF) + \" \" + Str(bs.ReadInt32)\n"
       "bs.Close\nf.Delete\nDim mb As New MemoryBlock(2)\nDim ms As New BinaryStream(mb)\nms.WriteInt32 &h01020304\n"
       "Dim rs As New BinaryStream(\"PNG!\")\nPrint Str(mb.Size) + \" \" + Str(mb.Byte(0)) + \" \" + Str(mb.Byte(3)) + \" \" + rs.Read(3) + \" \" + Str(rs.ReadUInt8)\n"
       "Try\n  rs.WriteInt8 1\nCatch e As IOException\n  Print \"read only\"\nEnd Try\n",
       "19 258 CDAB\nABCD 1.5 hey 200 True 0\n4 1 4 PNG 33\nread only\n|"},
      // Path types, a folder's items, dates and permissions, copying and moving.
      {"Dim dir As FolderItem = SpecialFolder.Temporary.Child(\"qvr console items\")\ndir.CreateAsFolder\n"
       "Dim f As FolderItem = GetFolderItem(dir.URLPath + \"a%20b.png\", FolderItem.PathTypeURL)\n"
       "Dim t As TextOutputStream = TextOutputStream.Create(f)\nt.Write \"x\"\nt.Close\n"
       "Print f.Name + \" \" + f.Extension + \" \" + Str(f.AbsolutePath = f.NativePath) + \" \" + Right(f.URLPath, 9) + \" \" + Right(dir.URLPath, 1)\n"
       "Dim same As New FolderItem(f.ShellPath, FolderItem.PathTypeShell)\n"
       "Print Str(same.IsReadable And same.IsWriteable And same.Visible) + \" \" + Str(f.ModificationDate.Year > 2000) + \" \" + Str(GetFolderItem(\"http://x\", 2) Is Nil)\n"
       "f.CopyFileTo(dir.Child(\"c.png\"))\nf.CopyFileTo(dir.Child(\"c.png\"))\nPrint Str(f.LastErrorCode)\n"
       "f.MoveFileTo(SpecialFolder.Temporary)\nDim moved As FolderItem = SpecialFolder.Temporary.Child(\"a b.png\")\n"
       "Print Str(dir.Count) + \" \" + dir.Item(1).Name + \" \" + Str(moved.Length) + \" \" + Str(dir.Item(2) Is Nil)\n"
       "moved.Delete\ndir.Item(1).Delete\ndir.Delete\n"
       "Print Str(SpecialFolder.UserHome.NativePath = System.EnvironmentVariable(\"HOME\")) + \" \" + SpecialFolder.Desktop.Name + \" \" + Str(SpecialFolder.Applications Is Nil)\n"
       "Dim temp As FolderItem = GetTemporaryFolderItem\nDim other As FolderItem = GetTemporaryFolderItem()\n"
       "Print Str(temp.Exists) + \" \" + Str(temp.Parent.NativePath = TemporaryFolder.NativePath) + \" \" + Str(other.Name <> temp.Name) + \" \" + DocumentsFolder.Name\n"
       "temp.Delete\nother.Delete\n",
       "a b.png png True a%20b.png /\nTrue True True\n17\n1 c.png 1 True\nTrue Desktop True\nTrue True True Documents\n|"},
  });
}

// Where the output and the error output end in one place, their lines keep the program's
// order even though the output is held until flushed (as a pipe's is).
TEST(Console, ErrorOutputComesAfterWhatWasPrintedBeforeIt) {
  struct Place : std::streambuf {
    std::string& to;
    std::string held;
    bool holds;
    Place(std::string& to, bool holds) : to(to), holds(holds) {}
    int_type overflow(int_type c) override {
      const char ch = traits_type::to_char_type(c);
      return xsputn(&ch, 1), c;
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override { return (holds ? held : to).append(s, size_t(n)), n; }
    int sync() override { return to += held, held.clear(), 0; }
  };
  std::string both;
  Place outPlace(both, true), errPlace(both, false);
  std::ostream out(&outPlace), err(&errPlace);
  host::Runtime rt;
  qvrlang::runSource(rt, "Print \"a\"\nSystem.DebugLog \"b\"\nStdOut.Write \"c\"\nStdErr.WriteLine \"d\"\nPrint \"e\"\n", "t.qvr", out, err);
  out.flush();
  EXPECT_EQ(both, "a\nb\ncd\ne\n");
}
