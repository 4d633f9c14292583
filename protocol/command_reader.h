// Seams of the command reader: the word split, the dispatch of one command
// line and the reading loop on a given descriptor, for in-process tests.
#ifndef VK_SONY_PROTOCOL_COMMAND_READER_H
#define VK_SONY_PROTOCOL_COMMAND_READER_H

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

// Dispatches one command line to `device` (not owned, must not be null),
// reading and extending `codes`. A malformed number where one is required
// raises std::invalid_argument or std::out_of_range, which the reader lets
// escape on purpose so that the process ends.
void dispatch_command(CameraDevice* device, PropertyCodes& codes, const std::string& line);

// The reading loop of command_reader on descriptor `input_fd`: polls it every
// 100 ms while `running` holds, reads whole lines from it and dispatches
// them, and writes "END - elixir_handler_stdin" when it ends. Reads the
// descriptor directly (no stdio buffer), so that a poll never misses a line
// already taken from the descriptor.
void read_commands(int input_fd, CameraDevice* device, PropertyCodes& codes);

#endif  // VK_SONY_PROTOCOL_COMMAND_READER_H
