// Seams of the command reader: the word split, the dispatch of one command
// line and the reading loop on a given descriptor, for in-process tests.
#ifndef VK_SONY_PROTOCOL_COMMAND_READER_H
#define VK_SONY_PROTOCOL_COMMAND_READER_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "protocol/protocol.h"

// The four words of a command line. Missing words are empty.
struct CommandWords {
  std::string verb;
  std::string name;
  std::string value;
  std::string extra;
};

// Splits `line` on any run of blanks (space, tab, vertical tab, form feed);
// leading blanks are skipped and words after the fourth are ignored. A
// carriage return is not a separator: a line ended by "\r\n" keeps the "\r"
// in its last word, so such a parent's numbers still convert but its names
// do not match.
CommandWords split_command(const std::string& line);

// A number word as the standard decimal conversion to int reads it (leading
// white space, an optional sign, digits up to the first non-digit), without
// its exceptions: false when there is no digit or the value is outside the
// signed 32-bit range, and `out` is then left alone.
bool parse_int32(const std::string& text, int32_t* out);

// Dispatches one command line to `device` (not owned, must not be null),
// reading `codes`, once the camera's first property batch has come (every
// command that arrives earlier waits for it; the end of the run ends the
// wait). Never throws: a malformed number, an unknown name or a
// value the property does not take is logged and answered "NACK", and
// nothing of it is remembered.
void dispatch_command(CameraDevice* device, const PropertyCodes& codes, const std::string& line);

// The parent's input as it is read in blocks, split into lines at "\n".
class LineBuffer {
 public:
  void append(const char* data, size_t size);
  // Takes the next whole line, without its "\n"; false when no whole line is
  // buffered.
  bool next_line(std::string& line);
  // Takes what is left, a last line without its "\n"; false when nothing is.
  bool take_rest(std::string& line);
  // Bytes of a line whose "\n" has not been read yet are buffered.
  bool has_partial() const { return start_ < data_.size() && data_.find('\n', start_) == std::string::npos; }

 private:
  std::string data_;
  size_t start_ = 0;  // first byte not yet taken
};

// The reading loop of command_reader on descriptor `input_fd`: blocks in poll
// on it and on the shutdown wake-up descriptor, reads what has arrived in
// blocks and carries out every whole line read before polling again. A
// hang-up wins over input not yet read; end of input (a file, /dev/null)
// ends the loop as a hang-up does. Writes "END - elixir_handler_stdin" and
// requests shutdown when it ends.
void read_commands(int input_fd, CameraDevice* device, PropertyCodes& codes);

#endif  // VK_SONY_PROTOCOL_COMMAND_READER_H
