/* EXIF as the NSImageEXIFData dictionary: the entries of the image directory and the EXIF
   directory of an EXIF block, keyed by their EXIF tag names (libexif's), text as strings,
   numbers as numbers, several values as arrays, opaque bytes as data; and back again. */
#import "imagereps/bitmap_storage.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include <libexif/exif-data.h>

namespace {

const ExifIfd kDirectories[] = {EXIF_IFD_0, EXIF_IFD_EXIF};

id NumberAt(ExifEntry* entry, ExifByteOrder order, unsigned long index) {
  const unsigned char* p = entry->data + index * exif_format_get_size(entry->format);
  switch (entry->format) {
    case EXIF_FORMAT_BYTE: return [NSNumber numberWithUnsignedChar:p[0]];
    case EXIF_FORMAT_SBYTE: return [NSNumber numberWithChar:char(p[0])];
    case EXIF_FORMAT_SHORT: return [NSNumber numberWithUnsignedShort:exif_get_short(p, order)];
    case EXIF_FORMAT_SSHORT: return [NSNumber numberWithShort:exif_get_sshort(p, order)];
    case EXIF_FORMAT_LONG: return [NSNumber numberWithUnsignedInt:exif_get_long(p, order)];
    case EXIF_FORMAT_SLONG: return [NSNumber numberWithInt:exif_get_slong(p, order)];
    case EXIF_FORMAT_RATIONAL: {
      const ExifRational r = exif_get_rational(p, order);
      return [NSNumber numberWithDouble:r.denominator ? double(r.numerator) / r.denominator : 0.0];
    }
    case EXIF_FORMAT_SRATIONAL: {
      const ExifSRational r = exif_get_srational(p, order);
      return [NSNumber numberWithDouble:r.denominator ? double(r.numerator) / r.denominator : 0.0];
    }
    case EXIF_FORMAT_FLOAT: {
      float f;
      uint32_t bits = exif_get_long(p, order);
      std::memcpy(&f, &bits, 4);
      return [NSNumber numberWithFloat:f];
    }
    case EXIF_FORMAT_DOUBLE: {
      double d;
      std::memcpy(&d, p, 8);
      return [NSNumber numberWithDouble:d];
    }
    default: return nil;
  }
}

id ValueOf(ExifEntry* entry, ExifByteOrder order) {
  if (entry->data == nullptr || entry->size == 0) return nil;
  const unsigned size = exif_format_get_size(entry->format);
  if (entry->format == EXIF_FORMAT_ASCII) {
    size_t length = strnlen(reinterpret_cast<const char*>(entry->data), entry->size);
    NSString* text = [[[NSString alloc] initWithBytes:entry->data length:length encoding:NSUTF8StringEncoding] autorelease];
    if (text == nil)
      text = [[[NSString alloc] initWithBytes:entry->data length:length encoding:NSISOLatin1StringEncoding] autorelease];
    return text;
  }
  if (entry->format == EXIF_FORMAT_UNDEFINED || size == 0) {
    // Version tags hold ASCII digits ("0230"); they read best as the digits' values.
    if ((entry->tag == EXIF_TAG_EXIF_VERSION || entry->tag == EXIF_TAG_FLASH_PIX_VERSION) && entry->size == 4) {
      NSMutableArray* digits = [NSMutableArray array];
      for (int i = 0; i < 4; ++i)
        if (i > 0 || entry->data[0] != '0') [digits addObject:[NSNumber numberWithInt:entry->data[i] - '0']];
      return digits;
    }
    return [NSData dataWithBytes:entry->data length:entry->size];
  }
  const unsigned long count = std::min<unsigned long>(entry->components, entry->size / size);
  if (count == 0) return nil;
  if (count == 1) return NumberAt(entry, order, 0);
  NSMutableArray* values = [NSMutableArray arrayWithCapacity:count];
  for (unsigned long i = 0; i < count; ++i) {
    id value = NumberAt(entry, order, i);
    if (value) [values addObject:value];
  }
  return values;
}

/* Replaces the entry's data with count values of format (libexif's allocator is malloc). */
unsigned char* ResizeEntry(ExifEntry* entry, ExifFormat format, unsigned long count) {
  std::free(entry->data);
  entry->format = format;
  entry->components = count;
  entry->size = unsigned(exif_format_get_size(format) * count);
  entry->data = static_cast<unsigned char*>(std::calloc(1, entry->size ? entry->size : 1));
  return entry->data;
}

void PutNumber(unsigned char* p, ExifFormat format, ExifByteOrder order, NSNumber* number) {
  switch (format) {
    case EXIF_FORMAT_BYTE: p[0] = uint8_t([number unsignedIntValue]); break;
    case EXIF_FORMAT_SBYTE: p[0] = uint8_t([number intValue]); break;
    case EXIF_FORMAT_SHORT: exif_set_short(p, order, ExifShort([number unsignedIntValue])); break;
    case EXIF_FORMAT_SSHORT: exif_set_sshort(p, order, ExifSShort([number intValue])); break;
    case EXIF_FORMAT_LONG: exif_set_long(p, order, ExifLong([number unsignedLongValue])); break;
    case EXIF_FORMAT_SLONG: exif_set_slong(p, order, ExifSLong([number longValue])); break;
    case EXIF_FORMAT_SRATIONAL: {
      // Whole numbers over 1, others over 10000; values beyond the field's range are
      // clamped to it (converting them unclamped would be undefined).
      const double v = std::isnan([number doubleValue]) ? 0.0 : std::clamp([number doubleValue], -2147483647.0, 2147483647.0);
      ExifSRational r = {ExifSLong(v), 1};
      if (v != std::trunc(v) && std::fabs(v) < 214748.0) r = {ExifSLong(v * 10000.0), 10000};
      exif_set_srational(p, order, r);
      break;
    }
    default: {  // RATIONAL, and numbers given for formats without a better choice
      const double v = std::isnan([number doubleValue]) ? 0.0 : std::clamp([number doubleValue], 0.0, 4294967295.0);
      ExifRational r = {ExifLong(v), 1};
      if (v != std::trunc(v) && v < 429496.0) r = {ExifLong(v * 10000.0), 10000};
      exif_set_rational(p, order, r);
      break;
    }
  }
}

bool SetEntryValue(ExifEntry* entry, id value, ExifByteOrder order) {
  if ([value isKindOfClass:[NSString class]]) {
    const char* text = [value UTF8String];
    const size_t length = std::strlen(text) + 1;
    std::memcpy(ResizeEntry(entry, EXIF_FORMAT_ASCII, length), text, length);
    return true;
  }
  if ([value isKindOfClass:[NSData class]]) {
    std::memcpy(ResizeEntry(entry, EXIF_FORMAT_UNDEFINED, [value length]), [value bytes], [value length]);
    return true;
  }
  NSArray* numbers = [value isKindOfClass:[NSArray class]] ? value
                     : [value isKindOfClass:[NSNumber class]] ? [NSArray arrayWithObject:value] : nil;
  if ([numbers count] == 0) return false;
  for (NSUInteger i = 0; i < [numbers count]; ++i)
    if (![[numbers objectAtIndex:i] isKindOfClass:[NSNumber class]]) return false;
  if ((entry->tag == EXIF_TAG_EXIF_VERSION || entry->tag == EXIF_TAG_FLASH_PIX_VERSION)) {
    char digits[5] = "0000";
    NSUInteger start = [numbers count] >= 4 ? 0 : 4 - [numbers count];
    for (NSUInteger i = 0; i < [numbers count] && start + i < 4; ++i)
      digits[start + i] = char('0' + [[numbers objectAtIndex:i] intValue] % 10);
    std::memcpy(ResizeEntry(entry, EXIF_FORMAT_UNDEFINED, 4), digits, 4);
    return true;
  }
  // The tag's own numeric format when it has one, else a rational for fractions.
  ExifFormat format = entry->format;
  if (format == EXIF_FORMAT_ASCII || format == EXIF_FORMAT_UNDEFINED || exif_format_get_size(format) == 0) {
    const char* type = [[numbers objectAtIndex:0] objCType];
    format = (type[0] == 'd' || type[0] == 'f') ? EXIF_FORMAT_RATIONAL : EXIF_FORMAT_LONG;
  }
  unsigned char* p = ResizeEntry(entry, format, [numbers count]);
  for (NSUInteger i = 0; i < [numbers count]; ++i)
    PutNumber(p + i * exif_format_get_size(format), format, order, [numbers objectAtIndex:i]);
  return true;
}

}  // namespace

NSDictionary* QVRDictionaryFromEXIF(const std::vector<uint8_t>& tiffStructure) {
  if (tiffStructure.size() < 8) return nil;
  std::vector<uint8_t> block(6 + tiffStructure.size());
  std::memcpy(block.data(), "Exif\0\0", 6);
  std::memcpy(block.data() + 6, tiffStructure.data(), tiffStructure.size());
  ExifData* exif = exif_data_new();
  if (exif == nullptr) return nil;
  exif_data_unset_option(exif, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
  exif_data_load_data(exif, block.data(), unsigned(std::min<size_t>(block.size(), 0xFFFFFFFFu)));
  const ExifByteOrder order = exif_data_get_byte_order(exif);
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  for (ExifIfd ifd : kDirectories) {
    ExifContent* content = exif->ifd[ifd];
    if (content == nullptr) continue;
    for (unsigned i = 0; i < content->count; ++i) {
      ExifEntry* entry = content->entries[i];
      const char* name = exif_tag_get_name_in_ifd(entry->tag, ifd);
      if (name == nullptr) continue;
      id value = ValueOf(entry, order);
      if (value != nil) [dictionary setObject:value forKey:[NSString stringWithUTF8String:name]];
    }
  }
  exif_data_unref(exif);
  return dictionary;
}

bool QVREXIFFromDictionary(NSDictionary* dictionary, std::vector<uint8_t>& tiffStructure) {
  tiffStructure.clear();
  if ([dictionary count] == 0) return false;
  ExifData* exif = exif_data_new();
  if (exif == nullptr) return false;
  exif_data_unset_option(exif, EXIF_DATA_OPTION_FOLLOW_SPECIFICATION);
  exif_data_set_byte_order(exif, EXIF_BYTE_ORDER_MOTOROLA);
  const ExifByteOrder order = exif_data_get_byte_order(exif);
  NSArray* keys = [dictionary allKeys];
  for (NSUInteger k = 0; k < [keys count]; ++k) {
    NSString* key = [keys objectAtIndex:k];
    if (![key isKindOfClass:[NSString class]]) continue;
    const ExifTag tag = exif_tag_from_name([key UTF8String]);
    if (tag == 0) continue;
    const ExifIfd ifd = exif_tag_get_name_in_ifd(tag, EXIF_IFD_0) != nullptr ? EXIF_IFD_0 : EXIF_IFD_EXIF;
    if (exif_tag_get_name_in_ifd(tag, ifd) == nullptr) continue;
    ExifEntry* entry = exif_entry_new();
    if (entry == nullptr) continue;
    exif_content_add_entry(exif->ifd[ifd], entry);
    exif_entry_initialize(entry, tag);
    if (!SetEntryValue(entry, [dictionary objectForKey:key], order)) exif_content_remove_entry(exif->ifd[ifd], entry);
    exif_entry_unref(entry);
  }
  // Every EXIF block has an EXIF directory, whose one required entry is the version; a
  // TIFF file's readers look for the EXIF there even when all else is in the image's.
  if (exif_content_get_entry(exif->ifd[EXIF_IFD_EXIF], EXIF_TAG_EXIF_VERSION) == nullptr) {
    if (ExifEntry* version = exif_entry_new()) {
      exif_content_add_entry(exif->ifd[EXIF_IFD_EXIF], version);
      exif_entry_initialize(version, EXIF_TAG_EXIF_VERSION);
      exif_entry_unref(version);
    }
  }
  unsigned char* bytes = nullptr;
  unsigned int length = 0;
  exif_data_save_data(exif, &bytes, &length);
  exif_data_unref(exif);
  // The saved block starts with the "Exif\0\0" marker; the TIFF structure follows it.
  if (bytes != nullptr && length > 6 + 8 && std::memcmp(bytes, "Exif\0\0", 6) == 0)
    tiffStructure.assign(bytes + 6, bytes + length);
  std::free(bytes);
  return !tiffStructure.empty();
}
