/* Reading and writing the pixels of a host Picture. A PictureEditor locks the picture,
   asks the host to describe its storage (a bitmap context on desktop hosts, the host row
   buffer on console and web hosts) and exposes the pixels as rows of 4-byte pixels with
   a format code telling where red, green, blue and alpha sit. Closing gives everything
   back and, after writing, makes the host drop its cached copies. */
#ifndef QVR_PICTURE_PICTURE_EDITOR_H
#define QVR_PICTURE_PICTURE_EDITOR_H

#include <stdint.h>

#include "plugin/host_sdk.h"

/* What the host fills when it locks a picture's description: the description type (8, a
   bitmap context; 10, the host row buffer record), the data pointer, width and height. */
struct REALpictureDescription {
  int32_t pictureType;
  void* data;
  int32_t width;
  int32_t height;
};
static_assert(sizeof(REALpictureDescription) == 24, "the description record is 24 bytes");

enum {
  kPictureDescriptionBitmapContext = 8,
  kPictureDescriptionRowBuffer = 10,
  /* Pixel format codes: 1 to 6 are the bitmap context's alpha info, 8 the row buffer. */
  kPictureFormatRowBuffer = 8,
};

/* The host row buffer record (the data of a type 10 description), pointer-sized words:
   word 0 is 0, words 1 and 2 the width and height, word 1806 must be set and word 1807
   is the table of row start addresses. */
enum { kRowBufferWidth = 1, kRowBufferHeight = 2, kRowBufferCheckWord = 1806, kRowBufferRowTable = 1807 };

/* Locks the picture's description asking for a type; on a failure, older hosts (before
   2012.0) still hold a lock, which is given back here. */
bool LockPictureDescriptionOfType(REALpicture picture, REALpictureDescription* description, uint32_t type);

/* The row table of a type 10 description whose record passes its checks (word 0 is 0,
   words 1806 and 1807 set), with the record's width and height; null otherwise. */
unsigned char** RowBufferRowTable(const REALpictureDescription& description, uintptr_t* width, uintptr_t* height);

/* Set once the process knows which storage its pictures have; never cleared. */
extern bool IsDesktop;
extern bool IsConsole;

/* Byte positions of red, green and blue in a pixel of a format; all -1 for a code that
   no successful open gives. */
struct PictureChannels {
  int red, green, blue;
};
inline PictureChannels PictureChannelsOf(int32_t format) {
  switch (format) {
    case 1: case 3: case 5: return {0, 1, 2};
    case 2: case 4: case 6: return {1, 2, 3};
    case kPictureFormatRowBuffer: return {2, 1, 0};
    default: return {-1, -1, -1};
  }
}

class PictureEditor {
 public:
  PictureEditor() = default;
  virtual ~PictureEditor();
  PictureEditor(const PictureEditor&) = delete;
  PictureEditor& operator=(const PictureEditor&) = delete;

  /* (Re)opens the editor on pic: 1 on success, 0 on failure with nothing held. Readers
     pass (1, 0), writers (0, 1). */
  signed char GetPictureEditor(REALpicture pic, signed char read, signed char write);

  unsigned char* RowStart(int32_t row) const {
    if (row >= height) return baseAddress;
    return format == kPictureFormatRowBuffer ? rowTable[row] : baseAddress + (intptr_t)row * rowBytes;
  }
  void SelectRow(int32_t row) {
    x = 0;
    y = row;
    current = RowStart(row);
  }
  void NextRow() { SelectRow(y + 1); }

  int32_t rowBytes = 0;
  int32_t width = 0, height = 0;
  int32_t bytesPerPixel = 0;
  int32_t format = 0;
  unsigned char* current = nullptr;
  REALpictureDescription description = {};
  unsigned char* baseAddress = nullptr;
  int32_t x = 0, y = 0;
  REALpicture picture = nullptr;
  unsigned char** rowTable = nullptr;
  bool hasAlpha = false;
  bool readAccess = false, writeAccess = false;
  bool descriptionLocked = false;
  /* The editor opened its own readable copy and holds the copy's creation reference as
     well as its lock, so a host without object locks never frees the copy under it. */
  bool ownsCopy = false;

 private:
  void Release();
  signed char AcceptBitmapContext(REALpicture pic, bool alphaCase);
  signed char AcceptRowBuffer(REALpicture pic);
};

/* Open with read access; closes when it goes out of scope. */
class PictureReader : public PictureEditor {};
/* Open with write access; closes when it goes out of scope. */
class PictureWriter : public PictureEditor {};

#endif
