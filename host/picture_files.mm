// Pictures and image files: Picture.Open and FolderItem.OpenAsPicture read a PNG, JPEG,
// TIFF, GIF or BMP file, Picture.FromData the same from a MemoryBlock; Picture.Save, ToData
// and FolderItem.SaveAsPicture write one in the format of a SaveAs constant, JPEG at a
// Quality constant (or any level from 0 to 100); the older GetData in a format named by
// a Format constant. Decoding and encoding are the platform's, as the host uses its
// system's image classes. A file with transparency opens as a picture with an alpha
// channel where the application has them (desktop); a console application's pictures
// have none, so its transparent pixels open white. Saving writes a picture's mask or
// alpha channel where the format keeps transparency (PNG, TIFF, GIF).
// The host's headers first: the platform's headers define Nil as a macro.
#include "native_members.h"
#include "picture_storage.h"

#import <AppKit/AppKit.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>

namespace host {

namespace {

struct SaveFormat {
  const char* constant;
  const char* value;
  NSBitmapImageFileType type;
  const char* name;
};

const SaveFormat kFormats[] = {
    {"SaveAsPNG", "1", NSPNGFileType, "PNG"},   {"SaveAsJPEG", "2", NSJPEGFileType, "JPEG"},
    {"SaveAsBMP", "3", NSBMPFileType, "BMP"},   {"SaveAsGIF", "4", NSGIFFileType, "GIF"},
    {"SaveAsTIFF", "5", NSTIFFFileType, "TIFF"}, {"SaveAsMostCompatible", "6", NSPNGFileType, "PNG"},
};

const struct {
  const char* name;
  const char* value;
} kQualities[] = {{"QualityDefault", "-1"}, {"QualityMin", "0"},   {"QualityLow", "25"},
                  {"QualityMedium", "50"},  {"QualityHigh", "75"}, {"QualityMax", "100"}};

// The older GetData names formats by text: the platform's type identifiers (the Format
// constants) or MIME types.
const struct {
  const char* constant;
  const char* identifier;
  const char* mime;
  int64_t saveAs;
} kNamedFormats[] = {{"FormatPNG", "public.png", "image/png", 1},        {"FormatJPEG", "public.jpeg", "image/jpeg", 2},
                     {"FormatBMP", "com.microsoft.bmp", "image/bmp", 3}, {"FormatGIF", "com.compuserve.gif", "image/gif", 4},
                     {"FormatTIFF", "public.tiff", "image/tiff", 5}};

// JPEG at the default quality, as the platform's image classes write it.
constexpr double kDefaultJPEGFactor = 0.8;

// A new Picture of the image's pixels, or nil when the bytes are no image.
Value pictureFromBytes(Runtime& runtime, const void* bytes, size_t size) {
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  Value result;
  NSBitmapImageRep* rep = [NSBitmapImageRep imageRepWithData:[NSData dataWithBytes:bytes length:size]];
  CGImageRef image = rep ? [rep CGImage] : NULL;
  const int64_t width = int64_t([rep pixelsWide]), height = int64_t([rep pixelsHigh]);
  if (image && width > 0 && height > 0) {
    const bool alpha = [rep hasAlpha];
    std::vector<Value> size = {Value::ofInteger(width), Value::ofInteger(height)};
    if (!alpha) size.push_back(Value::ofInteger(32));
    result = runtime.newInstance("Picture", size);
    if (PictureData* picture = pictureOfValue(runtime, result)) {
      const NSSize points = [rep size];
      if (points.width > 0 && points.height > 0) {
        picture->horizontalResolution = std::max<int64_t>(1, std::llround(72.0 * double(width) / points.width));
        picture->verticalResolution = std::max<int64_t>(1, std::llround(72.0 * double(height) / points.height));
      }
      // Copied as it is into an alpha channel; laid over the white of a picture without one.
      CGContextSaveGState(picture->context);
      CGContextSetBlendMode(picture->context, picture->hasAlpha ? kCGBlendModeCopy : kCGBlendModeNormal);
      CGContextDrawImage(picture->context, CGRectMake(0, 0, double(width), double(height)), image);
      CGContextRestoreGState(picture->context);
    }
  }
  [pool release];
  return result;
}

// Reads the whole file into bytes; 0, or the system's error number.
int readFile(const std::string& path, std::string& bytes) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  char buffer[65536];
  ssize_t got = 0;
  while (fd >= 0 && (got = ::read(fd, buffer, sizeof buffer)) > 0) bytes.append(buffer, size_t(got));
  const int error = fd < 0 || got < 0 ? errno : 0;
  if (fd >= 0) ::close(fd);
  return error;
}

// The picture's pixels (with its mask) encoded; empty after raising.
std::string encode(Runtime& runtime, const Value& self, int64_t format, int64_t quality, const char* member) {
  PictureData* picture = pictureOfValue(runtime, self);
  const SaveFormat* chosen = nullptr;
  for (const SaveFormat& f : kFormats)
    if (std::to_string(format) == f.value) chosen = &f;
  if (!chosen) {
    runtime.impl().raise("UnsupportedFormatException",
                         std::string(member) + ": no image format " + std::to_string(format));
    return {};
  }
  if (quality != -1 && (quality < 0 || quality > 100)) {
    runtime.impl().raise("OutOfBoundsException",
                         std::string(member) + ": the quality is 0 to 100, not " + std::to_string(quality));
    return {};
  }
  CGImageRef image = picture && picture->context ? pictureImage(runtime.impl(), picture) : NULL;
  if (!image) {
    runtime.impl().raise("OutOfMemoryException", std::string(member) + ": the picture's pixels could not be read");
    return {};
  }
  NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
  NSBitmapImageRep* rep = [[[NSBitmapImageRep alloc] initWithCGImage:image] autorelease];
  CGImageRelease(image);
  // The size in points carries the resolution into the file.
  [rep setSize:NSMakeSize(double(picture->width) * 72.0 / double(picture->horizontalResolution),
                          double(picture->height) * 72.0 / double(picture->verticalResolution))];
  NSDictionary* properties = nil;
  if (chosen->type == NSJPEGFileType)
    properties = [NSDictionary
        dictionaryWithObject:[NSNumber numberWithDouble:quality < 0 ? kDefaultJPEGFactor : double(quality) / 100]
                      forKey:NSImageCompressionFactor];
  NSData* data = [rep representationUsingType:chosen->type properties:properties];
  std::string bytes = data ? std::string(static_cast<const char*>([data bytes]), [data length]) : std::string();
  [pool release];
  if (bytes.empty())
    runtime.impl().raise("UnsupportedFormatException",
                         std::string(member) + ": the picture could not be written as " + chosen->name);
  return bytes;
}

// Writes the picture's pixels as a file of the format; raises on failure.
void save(Runtime& runtime, const Value& picture, const Value& file, int64_t format, int64_t quality, const char* member) {
  if (file.isNil()) {
    runtime.impl().raise("NilObjectException", std::string(member) + ": the FolderItem is Nil");
    return;
  }
  const std::string bytes = encode(runtime, picture, format, quality, member);
  if (bytes.empty()) return;
  const std::string path = runtime.folderItemPath(file);
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  const ssize_t written = fd < 0 ? -1 : ::write(fd, bytes.data(), bytes.size());
  int error = fd < 0 || written != ssize_t(bytes.size()) ? (errno ? errno : EIO) : 0;
  if (fd >= 0 && ::close(fd) != 0 && !error) error = errno;
  if (error)
    runtime.impl().raise("IOException",
                         std::string(member) + " cannot write \"" + path + "\": " + std::strerror(error), error);
}

}  // namespace

void addPictureFiles(Runtime::Impl& impl) {
  ClassInfo* cls = impl.pictureClass;
  for (const SaveFormat& f : kFormats) addConstant(cls, f.constant, "Integer", f.value);
  // The later names of the same formats, grouped as Picture.Formats.PNG and its siblings.
  for (const SaveFormat& f : kFormats)
    if (std::strcmp(f.constant, "SaveAsMostCompatible") != 0)
      addConstant(cls, (std::string("Formats.") + f.name).c_str(), "Integer", f.value);
  for (const auto& q : kQualities) addConstant(cls, q.name, "Integer", q.value);

  addSharedMethod(cls, "Open(file as FolderItem) as Picture", [](Runtime& runtime, const Value&, std::vector<Value>& args) {
    if (args.at(0).isNil()) {
      runtime.impl().raise("NilObjectException", "Picture.Open: the FolderItem is Nil");
      return Value();
    }
    const std::string path = runtime.folderItemPath(args[0]);
    std::string bytes;
    if (const int error = readFile(path, bytes)) {
      runtime.impl().raise("IOException", "Picture.Open cannot read \"" + path + "\": " + std::strerror(error), error);
      return Value();
    }
    Value picture = pictureFromBytes(runtime, bytes.data(), bytes.size());
    if (picture.isNil())
      runtime.impl().raise("UnsupportedFormatException",
                           "Picture.Open: \"" + path + "\" holds no image this host reads");
    return picture;
  });
  addSharedMethod(cls, "FromData(data as MemoryBlock) as Picture",
                  [](Runtime& runtime, const Value&, std::vector<Value>& args) {
                    if (args.at(0).isNil()) {
                      runtime.impl().raise("NilObjectException", "Picture.FromData: the MemoryBlock is Nil");
                      return Value();
                    }
                    const std::string bytes = runtime.memoryBlockBytes(args[0]);
                    Value picture = pictureFromBytes(runtime, bytes.data(), bytes.size());
                    if (picture.isNil())
                      runtime.impl().raise("UnsupportedFormatException", "Picture.FromData: the data is no image this host reads");
                    return picture;
                  });
  addNativeMethod(cls, "Save(file as FolderItem, format as Integer, quality as Integer = -1)",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    save(runtime, self, args.at(0), args.at(1).integer, args.at(2).integer, "Picture.Save");
                    return Value();
                  });
  addNativeMethod(cls, "ToData(format as Integer, quality as Integer = -1) as MemoryBlock",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    const std::string bytes = encode(runtime, self, args.at(0).integer, args.at(1).integer, "Picture.ToData");
                    return bytes.empty() ? Value() : runtime.memoryBlock(bytes.data(), bytes.size());
                  });

  for (const auto& f : kNamedFormats) addConstant(cls, f.constant, "String", (std::string("\"") + f.identifier + "\"").c_str());
  addNativeMethod(cls, "GetData(format as String, quality as Integer = -1) as MemoryBlock",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    const std::string name = lowerCase(runtime.utf8(args.at(0)));
                    int64_t format = 0;
                    for (const auto& f : kNamedFormats)
                      if (name == f.identifier || name == f.mime) format = f.saveAs;
                    if (!format) {
                      runtime.impl().raise("UnsupportedFormatException", "Picture.GetData: \"" + runtime.utf8(args[0]) + "\" names no image format");
                      return Value();
                    }
                    const std::string bytes = encode(runtime, self, format, args.at(1).integer, "Picture.GetData");
                    return bytes.empty() ? Value() : runtime.memoryBlock(bytes.data(), bytes.size());
                  });

  // The older forms on FolderItem: the same constants, MostCompatible unless one is named,
  // and Nil rather than an exception for a file that is no picture.
  for (const SaveFormat& f : kFormats) addConstant(impl.folderItemClass, f.constant, "Integer", f.value);
  addNativeMethod(impl.folderItemClass, "SaveAsPicture(image as Picture, format as Integer = 6)",
                  [](Runtime& runtime, const Value& self, std::vector<Value>& args) {
                    if (args.at(0).isNil())
                      runtime.impl().raise("NilObjectException", "FolderItem.SaveAsPicture: the Picture is Nil");
                    else
                      save(runtime, args[0], self, args.at(1).integer, -1, "FolderItem.SaveAsPicture");
                    return Value();
                  });
  addNativeMethod(impl.folderItemClass, "OpenAsPicture() as Picture",
                  [](Runtime& runtime, const Value& self, std::vector<Value>&) {
                    std::string bytes;
                    if (readFile(runtime.folderItemPath(self), bytes) != 0) return Value();
                    return pictureFromBytes(runtime, bytes.data(), bytes.size());
                  });
}

}  // namespace host
