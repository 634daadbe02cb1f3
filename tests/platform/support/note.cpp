#include "support/note.h"

#include <atomic>
#include <cstring>

namespace face_test {

namespace {

std::atomic<int> live = 0;

constexpr std::size_t fixed_size = 16;  // encapsulation, id, value, length of the text

std::uint32_t get32(const std::uint8_t* at) {
  std::uint32_t value = 0;
  std::memcpy(&value, at, sizeof value);
  return value;
}

void put32(std::uint8_t* at, std::uint32_t value) {
  std::memcpy(at, &value, sizeof value);
}

void put_header(std::uint8_t* at) {
  const std::uint8_t little_endian[] = {0, 1, 0, 0};
  std::memcpy(at, little_endian, sizeof little_endian);
}

bool key_hash(const std::uint8_t* id, DDS_KeyHash_t* hash) {
  *hash = {};
  for (int i = 0; i < 4; ++i) hash->value[i] = id[3 - i];  // big-endian
  hash->length = 16;
  return true;
}

bool valid_key(const std::uint8_t* buffer, std::size_t size) {
  return size >= 8 && buffer[0] == 0 && buffer[1] == 1;
}

bool valid(const std::uint8_t* buffer, std::size_t size) {
  if (!valid_key(buffer, size) || size < fixed_size) return false;
  const std::size_t whole = fixed_size + get32(buffer + 12);
  return whole <= size && size - whole <= 3;
}

class Support : public DDSTypeSupport {
  DDSDataReader* create_datareaderI(DDSDataReader::ImplPtr impl) override { return new NoteReader(std::move(impl)); }
  void destroy_datareaderI(DDSDataReader* reader) override { delete static_cast<NoteReader*>(reader); }
  DDSDataWriter* create_datawriterI(DDSDataWriter::ImplPtr impl) override { return new NoteWriter(std::move(impl)); }
  void destroy_datawriterI(DDSDataWriter* writer) override { delete static_cast<NoteWriter*>(writer); }
} support;

void* create_sample() {
  ++live;
  return new Note;
}

void destroy_sample(void* sample) {
  --live;
  delete static_cast<Note*>(sample);
}

std::size_t encoded_size(const void* sample) {
  const auto& note = *static_cast<const Note*>(sample);
  return note.text.size() > longest_text ? 0 : fixed_size + note.text.size();
}

bool encode(const void* sample, std::uint8_t* buffer, std::size_t) {
  const auto& note = *static_cast<const Note*>(sample);
  put_header(buffer);
  put32(buffer + 4, static_cast<std::uint32_t>(note.id));
  put32(buffer + 8, static_cast<std::uint32_t>(note.value));
  put32(buffer + 12, static_cast<std::uint32_t>(note.text.size()));
  std::memcpy(buffer + fixed_size, note.text.data(), note.text.size());
  return true;
}

bool decode(void* sample, const std::uint8_t* buffer, std::size_t size) {
  if (!valid(buffer, size)) return false;
  auto& note = *static_cast<Note*>(sample);
  note.id = static_cast<std::int32_t>(get32(buffer + 4));
  note.value = static_cast<std::int32_t>(get32(buffer + 8));
  note.text.assign(reinterpret_cast<const char*>(buffer + fixed_size), get32(buffer + 12));
  return true;
}

bool check(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash) {
  return valid(buffer, size) && key_hash(buffer + 4, hash);
}

std::size_t put_key(const std::uint8_t* id, std::uint8_t* buffer, std::size_t capacity) {
  if (buffer && capacity >= 8) {
    put_header(buffer);
    std::memcpy(buffer + 4, id, 4);
  }
  return 8;
}

std::size_t encode_key(const void* sample, std::uint8_t* buffer, std::size_t capacity) {
  const auto& note = *static_cast<const Note*>(sample);
  if (note.id < 0) return 0;  // stands for a key that cannot be encoded
  std::uint8_t id[4];
  put32(id, static_cast<std::uint32_t>(note.id));
  return put_key(id, buffer, capacity);
}

std::size_t encoded_to_key(const std::uint8_t* encoded, std::size_t, std::uint8_t* buffer, std::size_t capacity) {
  return put_key(encoded + 4, buffer, capacity);
}

bool decode_key(void* key, const std::uint8_t* buffer, std::size_t size) {
  if (!valid_key(buffer, size)) return false;
  static_cast<Note*>(key)->id = static_cast<std::int32_t>(get32(buffer + 4));
  return true;
}

bool check_key(const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash) {
  return valid_key(buffer, size) && key_hash(buffer + 4, hash);
}

RTIBool instance_to_keyhash(PRESTypePluginEndpointData, DDS_KeyHash_t* hash, const void* sample) {
  std::uint8_t id[4];
  put32(id, static_cast<std::uint32_t>(static_cast<const Note*>(sample)->id));
  return key_hash(id, hash) ? RTI_TRUE : RTI_FALSE;
}

std::size_t no_key(const void*, std::uint8_t* buffer, std::size_t capacity) {
  if (buffer && capacity >= 4) put_header(buffer);
  return 4;
}

PRESTypePlugin make_plugin(bool keyed) {
  PRESTypePlugin plugin = {};
  plugin.create_sample = plugin.create_key = create_sample;
  plugin.destroy_sample = plugin.destroy_key = destroy_sample;
  plugin.type_name = "Test::Note";
  plugin.type_support = &support;
  plugin.encoded_size = encoded_size;
  plugin.encode = encode;
  plugin.decode = decode;
  plugin.instance_to_keyhash = instance_to_keyhash;
  plugin.decode_key = decode_key;
  plugin.encoded_to_key = encoded_to_key;
  plugin.get_key_kind = [] { return PRES_TYPEPLUGIN_USER_KEY; };
  plugin.encode_key = encode_key;
  plugin.check = check;
  plugin.check_key = check_key;
  if (keyed) return plugin;
  plugin.type_name = "Test::Keyless";
  plugin.get_key_kind = [] { return PRES_TYPEPLUGIN_NO_KEY; };
  plugin.encode_key = no_key;
  plugin.check = [](const std::uint8_t* buffer, std::size_t size, DDS_KeyHash_t* hash) {
    *hash = {};
    return valid(buffer, size);
  };
  plugin.check_key = [](const std::uint8_t*, std::size_t, DDS_KeyHash_t* hash) {
    *hash = {};
    return true;
  };
  return plugin;
}

}  // namespace

const PRESTypePlugin note_plugin = make_plugin(true);
const PRESTypePlugin keyless_plugin = make_plugin(false);

int live_notes() {
  return live;
}

DDS_InstanceHandle_t handle_of(const Note& note) {
  DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
  instance_to_keyhash(nullptr, &handle.keyHash, &note);
  handle.isValid = DDS_BOOLEAN_TRUE;
  return handle;
}

DDS_ReturnCode_t NoteReader::access(const DDS_ReadSelectionI& selection, std::vector<Received>& received) {
  received.clear();
  DDS_SampleBufferI buffer;
  DDS_SampleInfoSeq infos;
  const DDS_ReturnCode_t result = read_or_take_untypedI(buffer, infos, selection);
  if (result != DDS_RETCODE_OK) return result;
  for (DDS_Long i = 0; i < buffer.count; ++i) {
    received.push_back({*static_cast<const Note*>(buffer.lent_samples[i]), infos[i]});
  }
  return return_loan_untypedI(buffer.lent_samples, buffer.lent_maximum, infos);
}

std::vector<Received> NoteReader::take() {
  std::vector<Received> received;
  DDS_ReadSelectionI selection;
  selection.take = DDS_BOOLEAN_TRUE;
  access(selection, received);
  return received;
}

std::vector<Received> NoteReader::read() {
  std::vector<Received> received;
  access({}, received);
  return received;
}

}  // namespace face_test
