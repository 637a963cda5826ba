/* Gestalt, reduced to what is still asked of it: the system version, which tests and the
   host configure through QVR_SYSTEM_VERSION so that older-system behaviour can be run. */
#include <CoreServices/CoreServices.h>

#include <stdlib.h>

/* Reads "major.minor[.bugfix]"; false leaves the outputs untouched. */
static bool ReadVersion(const char* text, int* major, int* minor, int* bugfix) {
  if (text == NULL || *text == 0) return false;
  char* end = NULL;
  long parts[3] = {0, 0, 0};
  const char* cursor = text;
  int count = 0;
  while (count < 3) {
    if (*cursor < '0' || *cursor > '9') return false;
    parts[count] = strtol(cursor, &end, 10);
    if (end == cursor || parts[count] < 0 || parts[count] > 99) return false;
    count++;
    if (*end == 0) break;
    if (*end != '.') return false;
    cursor = end + 1;
  }
  if (count < 2 || (end && *end != 0)) return false;
  *major = (int)parts[0];
  *minor = (int)parts[1];
  *bugfix = (int)parts[2];
  return true;
}

static int Digit(int value) { return value > 9 ? 9 : value; }

OSErr Gestalt(OSType selector, SInt32* response) {
  if (response == NULL) return paramErr;
  int major = 10, minor = 9, bugfix = 0;
  ReadVersion(getenv("QVR_SYSTEM_VERSION"), &major, &minor, &bugfix);
  switch (selector) {
    case gestaltSystemVersionMajor: *response = major; return noErr;
    case gestaltSystemVersionMinor: *response = minor; return noErr;
    case gestaltSystemVersionBugFix: *response = bugfix; return noErr;
    case gestaltSystemVersion:
      /* Binary-coded decimal, as the old selector gives it; digits above 9 stay at 9. */
      *response = ((major / 10) % 10) << 12 | (major % 10) << 8 | Digit(minor) << 4 | Digit(bugfix);
      return noErr;
    default: return gestaltUndefSelectorErr;
  }
}
