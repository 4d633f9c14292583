// The growth of a TextWriter's buffer, out of the line of the appends.
#include "properties/text_writer.h"

#include <utility>

void TextWriter::grow(size_t n) {
  const size_t length = size();
  const auto capacity = static_cast<size_t>(capacity_end_ - buffer_.get());
  const size_t needed = length + n;
  const size_t grown = needed > 2 * capacity ? needed : 2 * capacity;
  std::unique_ptr<char[]> bigger(new char[grown]);
  if (length > 0) std::memcpy(bigger.get(), buffer_.get(), length);
  buffer_ = std::move(bigger);
  end_ = buffer_.get() + length;
  capacity_end_ = buffer_.get() + grown;
}
