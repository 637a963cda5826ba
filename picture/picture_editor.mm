/* PictureEditor: opening a host Picture for pixel access in either storage, the
   readable copy for a desktop picture whose description cannot be locked, and giving
   everything back. The process learns once which storage its pictures have (IsDesktop,
   IsConsole) and never tries the other again. */
#include "picture/picture_editor.h"

#include <ApplicationServices/ApplicationServices.h>

#include "picture/pictures.h"
#include "plugin/host_bridge.h"
#include "plugin/registration.h"

bool IsDesktop = false;
bool IsConsole = false;

namespace {

void ClassifyApplication() {
  if (REALGetClassRef("Application") != nullptr) IsDesktop = true;
  else if (REALGetClassRef("WebApplication") != nullptr || REALGetClassRef("ConsoleApplication") != nullptr)
    IsConsole = true;
}

}  // namespace

PictureEditor::~PictureEditor() { Release(); }

void PictureEditor::Release() {
  if (descriptionLocked) {
    if (picture != nullptr) REALUnlockPictureDescription(picture);
    descriptionLocked = false;
  }
  if (writeAccess && picture != nullptr) REALPictureClearCache(picture);
  if (picture != nullptr) {
    REALUnlockObject(reinterpret_cast<REALobject>(picture));
    if (ownsCopy) REALUnlockObject(reinterpret_cast<REALobject>(picture));
    picture = nullptr;
  }
  ownsCopy = false;
}

bool LockPictureDescriptionOfType(REALpicture picture, REALpictureDescription* description, uint32_t type) {
  if (REALLockPictureDescription(picture, description, type)) return true;
  if (rbversion_rbversion < 2012.0) REALUnlockPictureDescription(picture);
  return false;
}

unsigned char** RowBufferRowTable(const REALpictureDescription& description, uintptr_t* width, uintptr_t* height) {
  const uintptr_t* record = static_cast<const uintptr_t*>(description.data);
  if (description.pictureType != kPictureDescriptionRowBuffer || record == nullptr || record[0] != 0 ||
      record[kRowBufferCheckWord] == 0 || record[kRowBufferRowTable] == 0)
    return nullptr;
  *width = record[kRowBufferWidth];
  *height = record[kRowBufferHeight];
  return reinterpret_cast<unsigned char**>(record[kRowBufferRowTable]);
}

signed char PictureEditor::AcceptBitmapContext(REALpicture pic, bool alphaCase) {
  IsDesktop = true;
  CGContextRef context = static_cast<CGContextRef>(description.data);
  bool accepted = false;
  if (description.pictureType == kPictureDescriptionBitmapContext && context != nullptr) {
    int32_t alphaInfo = (int32_t)CGBitmapContextGetAlphaInfo(context) & 7;
    bool known = alphaCase ? (alphaInfo == 1 || alphaInfo == 2) : (alphaInfo >= 1 && alphaInfo <= 6);
    accepted = known && CGBitmapContextGetBitsPerPixel(context) == 32 && CGBitmapContextGetData(context) != nullptr;
    if (accepted) {
      REALLockObject(reinterpret_cast<REALobject>(pic));
      if (picture != nullptr) REALUnlockObject(reinterpret_cast<REALobject>(picture));
      picture = pic;
      descriptionLocked = true;
      rowBytes = (int32_t)CGBitmapContextGetBytesPerRow(context);
      format = alphaInfo;
      baseAddress = current = static_cast<unsigned char*>(CGBitmapContextGetData(context));
      bytesPerPixel = 4;
      width = (int32_t)CGBitmapContextGetWidth(context);
      height = (int32_t)CGBitmapContextGetHeight(context);
      x = y = 0;
    }
  }
  if (!accepted) REALUnlockPictureDescription(pic);
  return accepted ? 1 : 0;
}

signed char PictureEditor::AcceptRowBuffer(REALpicture pic) {
  IsConsole = true;
  uintptr_t recordWidth = 0, recordHeight = 0;
  unsigned char** rows = RowBufferRowTable(description, &recordWidth, &recordHeight);
  if (rows == nullptr) {
    REALUnlockPictureDescription(pic);
    return 0;
  }
  REALLockObject(reinterpret_cast<REALobject>(pic));
  picture = pic;
  descriptionLocked = true;
  format = kPictureFormatRowBuffer;
  width = description.width;
  height = description.height;
  rowBytes = 4 * width;
  bytesPerPixel = 4;
  rowTable = rows;
  baseAddress = current = height > 0 ? rowTable[0] : nullptr;
  x = y = 0;
  return 1;
}

signed char PictureEditor::GetPictureEditor(REALpicture pic, signed char read, signed char write) {
  Release();
  if (pic == nullptr) return 0;
  writeAccess = write != 0;
  readAccess = read != 0;
  if (!IsDesktop && !IsConsole) ClassifyApplication();

  uint8_t alpha = 0;
  if (!REALGetPropValueUInt8(reinterpret_cast<REALobject>(pic), "HasAlphaChannel", &alpha)) alpha = 0;
  hasAlpha = alpha != 0;
  if (!IsConsole) {
    if (LockPictureDescriptionOfType(pic, &description, kPictureDescriptionBitmapContext)) return AcceptBitmapContext(pic, hasAlpha);
    if (!hasAlpha && readAccess && !writeAccess) {
      /* A picture the host will not describe is read through a 32-bit copy of it. */
      int32_t w = 0, h = 0;
      if (!REALGetPropValueInt32(reinterpret_cast<REALobject>(pic), "Width", &w)) w = 0;
      if (!REALGetPropValueInt32(reinterpret_cast<REALobject>(pic), "Height", &h)) h = 0;
      if (w >= 1 && h >= 1) {
        REALpicture copy = REALNewPicture(w, h, 32);
        if (copy != nullptr) {
          GraphicsDrawPicture(copy, pic, 0, 0, w, h, 0, 0, w, h);
          signed char opened = GetPictureEditor(copy, read, 0);
          if (opened) ownsCopy = true;
          else REALUnlockObject(reinterpret_cast<REALobject>(copy));
          return opened;
        }
      }
    }
  }
  if (IsDesktop) return 0;
  if (!LockPictureDescriptionOfType(pic, &description, kPictureDescriptionRowBuffer)) return 0;
  return AcceptRowBuffer(pic);
}
