// A small keyed type, written by hand, with its typed reader and writer: { key long id; long value; string text; }.
#pragma once

#include "tessivar/platform/participant.h"

#include <string>
#include <vector>

namespace face_test {

constexpr std::size_t longest_text = 1000;

struct Note {
  std::int32_t id = 0;
  std::int32_t value = 0;
  std::string text;  // cannot be encoded beyond longest_text
  bool operator==(const Note&) const = default;
};

extern const PRESTypePlugin note_plugin;
/// The same without key.
extern const PRESTypePlugin keyless_plugin;

/// Samples that were created and not destroyed yet.
int live_notes();

DDS_InstanceHandle_t handle_of(const Note& note);

class NoteWriter : public DDSDataWriter {
 public:
  explicit NoteWriter(ImplPtr impl) : DDSDataWriter(std::move(impl)) {}
  DDS_ReturnCode_t write(const Note& note, const DDS_InstanceHandle_t& handle = DDS_HANDLE_NIL) {
    return write_untypedI(&note, handle, DDS_TIME_INVALID);
  }
  DDS_ReturnCode_t dispose(const Note& note, const DDS_InstanceHandle_t& handle = DDS_HANDLE_NIL) {
    return dispose_untypedI(&note, handle, DDS_TIME_INVALID);
  }
  DDS_ReturnCode_t unregister(const Note& note, const DDS_InstanceHandle_t& handle = DDS_HANDLE_NIL) {
    return unregister_untypedI(&note, handle, DDS_TIME_INVALID);
  }
};

struct Received {
  Note note;
  DDS_SampleInfo info;
};

class NoteReader : public DDSDataReader {
 public:
  explicit NoteReader(ImplPtr impl) : DDSDataReader(std::move(impl)) {}
  /// Through a loan; what came before is replaced.
  DDS_ReturnCode_t access(const DDS_ReadSelectionI& selection, std::vector<Received>& received);
  std::vector<Received> take();
  std::vector<Received> read();
};

}  // namespace face_test
