/* Drawing one host picture into another: through the host's own Graphics.DrawPicture,
   found by its declaration, or, where the host offers none, by copying rows between two
   pictures in the host row buffer. Used for readable copies, for installing masks and
   for normalising pictures before conversion. */
#include <string.h>

#include "picture/picture_editor.h"
#include "picture/pictures.h"
#include "plugin/host_bridge.h"

namespace {

const char kDrawPictureDeclaration[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = 0, "
    "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

typedef void (*DrawPictureMethod)(REALgraphics, REALpicture, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                                  intptr_t, intptr_t, intptr_t);

}  // namespace

bool GraphicsDrawPicture(REALpicture dest, REALpicture src, int x, int y, int w, int h, int sx, int sy, int sw,
                         int sh) {
  REALgraphics g = REALGetPictureGraphics(dest);
  bool result;
  DrawPictureMethod draw = nullptr;
  if (g != nullptr && src != nullptr)
    draw = reinterpret_cast<DrawPictureMethod>(
        REALLoadObjectMethod(reinterpret_cast<REALobject>(g), kDrawPictureDeclaration));
  if (draw != nullptr) {
    draw(g, src, x, y, w, h, sx, sy, sw, sh);
    result = true;
  } else {
    result = OwnCopy(dest, src, x, y, w, h, sx, sy, sw, sh);
  }
  if (g != nullptr) REALUnlockObject(reinterpret_cast<REALobject>(g));
  return result;
}

/* Offsets are not used by any caller; the copy always starts at the top-left corner. */
bool OwnCopy(REALpicture dest, REALpicture src, int, int, int w, int h, int, int, int sw, int sh) {
  if (dest == nullptr || src == nullptr || sw != w || sh != h) return false;
  REALpictureDescription from = {}, to = {};
  if (!LockPictureDescriptionOfType(src, &from, kPictureDescriptionRowBuffer)) return false;
  if (!LockPictureDescriptionOfType(dest, &to, kPictureDescriptionRowBuffer)) {
    REALUnlockPictureDescription(src);
    REALPictureClearCache(dest);
    return false;
  }
  uintptr_t fromWidth = 0, fromHeight = 0, toWidth = 0, toHeight = 0;
  unsigned char** fromRows = RowBufferRowTable(from, &fromWidth, &fromHeight);
  unsigned char** toRows = RowBufferRowTable(to, &toWidth, &toHeight);
  bool result = fromRows != nullptr && toRows != nullptr && fromWidth == toWidth && fromHeight == toHeight;
  if (result)
    for (uintptr_t row = 0; row < fromHeight; ++row) memcpy(toRows[row], fromRows[row], fromWidth * 4);
  REALUnlockPictureDescription(dest);
  REALUnlockPictureDescription(src);
  REALPictureClearCache(dest);
  return result;
}
