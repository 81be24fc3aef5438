// SPDX-License-Identifier: Apache-2.0
#include "report/read/ForeignFile.h"

namespace zorva {
namespace {

struct Kind {
  std::string_view magic;
  const char* name;
};

using namespace std::string_view_literals;

constexpr Kind kKinds[] = {
    {"\x7f"
     "ELF"sv,
     "an ELF program or library"},
    {"\x89PNG"sv, "a PNG image"},
    {"\xff\xd8\xff"sv, "a JPEG image"},
    {"GIF8"sv, "a GIF image"},
    {"%PDF"sv, "a PDF document"},
    {"PK\x03\x04"sv, "a ZIP archive: unpack it first"},
    {"BZh"sv, "compressed with bzip2: unpack it first, 'bzip2 -dc FILE | zorva-report'"},
    {"7z\xbc\xaf"sv, "a 7-Zip archive: unpack it first"},
    {"LZIP"sv, "compressed with lzip: unpack it first, 'lzip -dc FILE | zorva-report'"},
    {"\x04\x22\x4d\x18"sv, "compressed with lz4: unpack it first, 'lz4 -dc FILE | zorva-report'"},
    {"LPKSHHRH"sv, "a journal of the system, which journalctl reads"},
    {"SQLite format 3"sv, "an SQLite database"},
    {"\xff\xfe"sv, "text in UTF-16: 'iconv -f UTF-16 -t UTF-8 FILE | zorva-report' reads it"},
    {"\xfe\xff"sv, "text in UTF-16: 'iconv -f UTF-16 -t UTF-8 FILE | zorva-report' reads it"},
    {"<!"sv, "a page for a browser; a page of zorva-report shows what it knows itself"},
    {"{\""sv, "JSON; 'jq -j .raw' makes a log again of the output of --json"},
};

}  // namespace

std::string foreignKind(std::string_view begin) {
  for (const Kind& kind : kKinds) {
    if (begin.starts_with(kind.magic)) return kind.name;
  }
  constexpr std::size_t kTarMagic = 257;
  if (begin.size() > kTarMagic && begin.substr(kTarMagic).starts_with("ustar")) {
    return "a tar archive: unpack it first, 'tar -xf FILE'";
  }
  if (begin.find('\0') != begin.npos) return "binary data";
  return "text without a line of a log";
}

}  // namespace zorva
