/* A TIFF file's EXIF moved into a block of its own, and such a block moved into a TIFF file.
   EXIF readers take blocks of at most 64 KiB whose offsets count from the block's start,
   while in a TIFF file the EXIF directory usually sits after megabytes of pixels; so the two
   directories and the values they point at are copied into a fresh structure (same byte
   order) and their offsets rewritten. Entries that point at pixel data or at other large or
   nested blocks are left behind. Writing goes the other way: the block's directories are
   appended to the file and its first directory rewritten with the EXIF pointer added. */
#include "codecs/tiff_exif_block.h"

#include <algorithm>
#include <cstring>

namespace qvr {

namespace {

constexpr uint16_t kExifPointer = 0x8769;
constexpr size_t kMaxBlock = 60000;

struct Reader {
  const uint8_t* data;
  size_t size;
  bool little;
  bool ok = true;
  uint32_t u16(size_t at) {
    if (at + 2 > size) return ok = false, 0;
    return little ? uint32_t(data[at] | data[at + 1] << 8) : uint32_t(data[at] << 8 | data[at + 1]);
  }
  uint32_t u32(size_t at) {
    if (at + 4 > size) return ok = false, 0;
    return little ? u16(at) | u16(at + 2) << 16 : u16(at) << 16 | u16(at + 2);
  }
};

size_t type_size(uint32_t type) {
  static const size_t sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
  return type < sizeof sizes / sizeof sizes[0] ? sizes[type] : 0;
}

// Entries that stay behind: pixel locations, nested directories, large side blocks.
bool left_behind(uint32_t tag) {
  switch (tag) {
    case 273: case 279: case 288: case 289: case 324: case 325:  // strips, tiles, free space
    case 330: case 0x8825: case 0xA005:                          // sub-IFDs, GPS, interoperability
    case 700: case 33723: case 34377: case 34675: case 0x927C:   // XMP, IPTC, Photoshop, ICC, maker note
      return true;
    default:
      return false;
  }
}

struct Entry {
  uint16_t tag, type;
  uint32_t count;
  const uint8_t* value;  // the value bytes in the file (inline or out of line)
  size_t length;
};

bool read_directory(Reader& r, size_t offset, std::vector<Entry>& entries, uint32_t* exif_offset) {
  const uint32_t count = r.u16(offset);
  if (!r.ok || count > 1000) return false;
  for (uint32_t i = 0; i < count; ++i) {
    const size_t at = offset + 2 + 12 * size_t(i);
    Entry e;
    e.tag = uint16_t(r.u16(at));
    e.type = uint16_t(r.u16(at + 2));
    e.count = r.u32(at + 4);
    if (!r.ok) return false;
    if (exif_offset != nullptr && e.tag == kExifPointer) *exif_offset = r.u32(at + 8);
    const size_t unit = type_size(e.type);
    if (unit == 0 || left_behind(e.tag) || e.tag == kExifPointer) continue;
    e.length = unit * size_t(e.count);
    if (e.count > kMaxBlock || e.length > kMaxBlock) continue;
    if (e.length <= 4) {
      if (at + 8 + e.length > r.size) continue;  // a last entry cut short by the end of the data
      e.value = r.data + at + 8;
    } else {
      const size_t where = r.u32(at + 8);
      if (!r.ok || where > r.size || e.length > r.size - where) continue;
      e.value = r.data + where;
    }
    entries.push_back(e);
  }
  return true;
}

}  // namespace

bool tiff_exif_block(const uint8_t* data, size_t size, std::vector<uint8_t>& block) {
  block.clear();
  if (data == nullptr || size < 8) return false;
  Reader r{data, size, data[0] == 'I'};
  if (r.u16(2) != 42) return false;
  std::vector<Entry> image, exif;
  uint32_t exif_offset = 0;
  if (!read_directory(r, r.u32(4), image, &exif_offset) || exif_offset == 0) return false;
  if (!read_directory(r, exif_offset, exif, nullptr)) return false;

  // Header, image directory (with the EXIF pointer added), EXIF directory, then values.
  const size_t image_at = 8, image_size = 2 + 12 * (image.size() + 1) + 4;
  const size_t exif_at = image_at + image_size, exif_size = 2 + 12 * exif.size() + 4;
  size_t values_at = exif_at + exif_size;
  block.assign(values_at, 0);
  auto put16 = [&](size_t at, uint32_t v) {
    block[at] = uint8_t(r.little ? v : v >> 8);
    block[at + 1] = uint8_t(r.little ? v >> 8 : v);
  };
  auto put32 = [&](size_t at, uint32_t v) {
    put16(at + (r.little ? 0 : 2), v & 0xFFFF);
    put16(at + (r.little ? 2 : 0), v >> 16);
  };
  std::memcpy(block.data(), data, 4);
  put32(4, uint32_t(image_at));
  auto write_directory = [&](size_t at, const std::vector<Entry>& entries, bool with_pointer) {
    put16(at, uint32_t(entries.size() + (with_pointer ? 1 : 0)));
    size_t slot = at + 2;
    bool pointer_written = !with_pointer;
    for (const Entry& e : entries) {
      if (!pointer_written && e.tag > kExifPointer) {  // entries stay sorted by tag
        put16(slot, kExifPointer), put16(slot + 2, 4), put32(slot + 4, 1), put32(slot + 8, uint32_t(exif_at));
        slot += 12, pointer_written = true;
      }
      put16(slot, e.tag), put16(slot + 2, e.type), put32(slot + 4, e.count);
      if (e.length <= 4) {
        std::memcpy(&block[slot + 8], e.value, e.length);
      } else if (block.size() + e.length + (block.size() & 1) <= kMaxBlock) {
        if (block.size() & 1) block.push_back(0);  // values start on word boundaries
        put32(slot + 8, uint32_t(block.size()));
        block.insert(block.end(), e.value, e.value + e.length);
      } else {
        put32(slot + 4, 0);  // no room: an empty value rather than a wrong one
      }
      slot += 12;
    }
    if (!pointer_written) put16(slot, kExifPointer), put16(slot + 2, 4), put32(slot + 4, 1), put32(slot + 8, uint32_t(exif_at));
  };
  write_directory(image_at, image, true);
  write_directory(exif_at, exif, false);
  (void)values_at;
  return true;
}

bool tiff_insert_exif_block(std::vector<uint8_t>& file, const uint8_t* block, size_t block_size) {
  if (block == nullptr || block_size < 8 || file.size() < 8) return false;
  Reader b{block, block_size, block[0] == 'I'};
  Reader f{file.data(), file.size(), file[0] == 'I'};
  // The values are copied as bytes, so both must be in one byte order.
  if (b.little != f.little || b.u16(2) != 42 || f.u16(2) != 42) return false;
  std::vector<Entry> image, exif;
  uint32_t exif_offset = 0;
  if (!read_directory(b, b.u32(4), image, &exif_offset)) return false;
  if (exif_offset != 0 && !read_directory(b, exif_offset, exif, nullptr)) return false;

  // The file's first directory as it stands: its entries keep their offsets, as
  // everything new goes after the end of the file.
  const size_t first = f.u32(4);
  const uint32_t first_count = f.u16(first);
  const uint32_t next = f.u32(first + 2 + 12 * size_t(first_count));
  if (!f.ok || file.size() + 2 * block_size + 12 * size_t(first_count) + 64 > 0xFFFFFFF0u) return false;
  struct Record {
    uint16_t tag;
    uint8_t bytes[12];
  };
  std::vector<Record> records;
  for (uint32_t i = 0; i < first_count; ++i) {
    Record r;
    std::memcpy(r.bytes, file.data() + first + 2 + 12 * size_t(i), 12);
    r.tag = uint16_t(f.u16(first + 2 + 12 * size_t(i)));
    if (r.tag != kExifPointer) records.push_back(r);
  }

  auto put16 = [&](uint8_t* at, uint32_t v) {
    at[0] = uint8_t(f.little ? v : v >> 8);
    at[1] = uint8_t(f.little ? v >> 8 : v);
  };
  auto put32 = [&](uint8_t* at, uint32_t v) {
    put16(at + (f.little ? 0 : 2), v & 0xFFFF);
    put16(at + (f.little ? 2 : 0), v >> 16);
  };
  auto align = [&] {
    if (file.size() & 1) file.push_back(0);
  };
  auto record_of = [&](const Entry& e) {
    Record r{e.tag, {}};
    put16(r.bytes, e.tag), put16(r.bytes + 2, e.type), put32(r.bytes + 4, e.count);
    if (e.length <= 4) {
      std::memcpy(r.bytes + 8, e.value, e.length);
    } else {
      align();
      put32(r.bytes + 8, uint32_t(file.size()));
      file.insert(file.end(), e.value, e.value + e.length);
    }
    return r;
  };
  auto append_directory = [&](std::vector<Record>& entries, uint32_t next_directory) {
    std::sort(entries.begin(), entries.end(), [](const Record& a, const Record& c) { return a.tag < c.tag; });
    align();
    const size_t at = file.size();
    file.resize(at + 2 + 12 * entries.size() + 4);
    put16(&file[at], uint32_t(entries.size()));
    for (size_t i = 0; i < entries.size(); ++i) std::memcpy(&file[at + 2 + 12 * i], entries[i].bytes, 12);
    put32(&file[at + 2 + 12 * entries.size()], next_directory);
    return uint32_t(at);
  };

  // What the file says of itself (size, layout, orientation) wins over the block.
  for (const Entry& e : image) {
    bool present = false;
    for (const Record& r : records) present |= r.tag == e.tag;
    if (!present) records.push_back(record_of(e));
  }
  if (!exif.empty()) {
    std::vector<Record> exif_records;
    for (const Entry& e : exif) exif_records.push_back(record_of(e));
    const uint32_t exif_at = append_directory(exif_records, 0);
    Record pointer{kExifPointer, {}};
    put16(pointer.bytes, kExifPointer), put16(pointer.bytes + 2, 4), put32(pointer.bytes + 4, 1);
    put32(pointer.bytes + 8, exif_at);
    records.push_back(pointer);
  }
  const uint32_t directory = append_directory(records, next);
  put32(&file[4], directory);
  return true;
}

}  // namespace qvr
