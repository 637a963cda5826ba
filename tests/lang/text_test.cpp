// Text: the string functions and methods a host programmer reaches for (searching and
// replacing without regard to case, fields, trimming, case changes, comparison) and
// the Format patterns for numbers.
#include "lang_support.h"

TEST(Text, SearchReplaceFieldsTrimCaseComparisonAndFormat) {
  langtest::expectAll({
      {"Print Replace(\"a-A-a\", \"A\", \"x\") + \" \" + ReplaceAll(\"a-A-a\", \"A\", \"x\") + \" \" + \"Hello\".Replace(\"L\", \"_\")\n",
       "x-A-a x-x-x He_lo\n"},
      {"Dim s As String = \"red,green,,blue\"\nPrint Str(CountFields(s, \",\")) + \" \" + NthField(s, \",\", 2) + \"|\" + "
       "NthField(s, \",\", 3) + \"|\" + NthField(s, \",\", 9) + \"|\"\nDim letters() As String = Split(\"abc\", \"\")\n"
       "Print Join(letters, \"+\") + \" \" + Str(Split(\"\", \",\").Count) + \" \" + Join(Split(\"one two\"), \"_\")\n",
       "4 green|||\na+b+c 0 one_two\n"},
      {"Print \"[\" + LTrim(\"  a  \") + \"][\" + RTrim(\"  a  \") + \"][\" + \" b \".Trim + \"]\"\n"
       "Print Titlecase(\"hello wide world\") + \" \" + \"MiXeD\".Lowercase + \" \" + \"MiXeD\".Uppercase\n",
       "[a  ][  a][b]\nHello Wide World mixed MIXED\n"},
      // Comparison ignores case unless asked not to.
      {"Print Str(StrComp(\"abc\", \"ABC\")) + \" \" + Str(StrComp(\"abc\", \"ABC\", 0)) + \" \" + Str(StrComp(\"a\", \"b\"))\n"
       "Print Str(\"Zebra\" > \"apple\") + \" \" + Str(\"abc\" <> \"ABC\")\n",
       "0 1 -1\nTrue False\n"},
      // Searching counts characters, not bytes.
      {"Dim s As String = \"née née\"\nPrint Str(InStr(s, \"É\")) + \" \" + Str(InStr(3, s, \"e\")) + \" \" + Str(s.IndexOf(\"e\")) + "
       "\" \" + Str(s.IndexOf(3, \"é\")) + \" \" + Str(InStr(s, \"x\")) + \" \" + Str(Len(s)) + \" \" + Str(LenB(s))\n"
       "Print Str(s.BeginsWith(\"NÉ\")) + \" \" + Str(s.EndsWith(\"e\")) + \" \" + Mid(s, 2, 2) + \" \" + Chr(233) + Chr(8364)\n",
       "2 3 2 5 0 7 9\nTrue True ée é€\n"},
      {"Print Format(0.5, \"#.##\") + \" \" + Format(0.5, \"0.0#\") + \" \" + Format(2.125, \"0.0#\") + \" \" + "
       "Format(42, \"+0\") + \" \" + Format(-42, \"+0\") + \" \" + Format(1234.5, \"\\$#,##0.00\") + \" \" + "
       "Format(1234.5, \"#,##0.00 kg\")\n"
       "Print Format(0, \"#\") + \"|\" + Format(0, \"0\") + \"|\" + Format(-0.001, \"0.00\") + \"|\" + Format(999.999, \"0.00\")\n"
       // Scientific notation: the exponent's sign and least digits as the pattern says.
       "Print Format(0.000123, \"0.00e+00\") + \" \" + Format(512.5, \"#.##e+\") + \" \" + Format(-1234.5, \"0.0E-0\") + \" \" + "
       "Format(9.996, \"0.00e+0\") + \" \" + Format(0, \"0.0e+00\") + \" \" + Format(0.5, \"0.0e-0 x\")\n",
       ".5 0.5 2.13 +42 -42 $1,234.50 1,234.50 kg\n|0|0.00|1000.00\n1.23e-04 5.13e+2 -1.2E3 1.00e+1 0.0e+00 5.0e-1 x\n"},
      {"Print Format(\"12\", \"0\")\n", "test.qvr:1:7: error: Format expects a number for argument 1 but got a String; convert it with Val\n"},
      {"Print Left(\"abc\")\n", "test.qvr:1:7: error: Left takes 2 argument(s) but was given 1\n"},
  });
}
