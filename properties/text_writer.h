// The growing text buffer that status lines and value converters are
// written into.
#ifndef VK_SONY_PROPERTIES_TEXT_WRITER_H
#define VK_SONY_PROPERTIES_TEXT_WRITER_H

#include <cstddef>
#include <cstring>
#include <string_view>
#include <vector>

// Text appended piece by piece, a few characters at a time: each piece costs
// a size check and a copy, and the buffer keeps its capacity when cleared,
// so a writer reused from line to line stops allocating. Not thread-safe.
class TextWriter {
 public:
  // Room for `n` more characters: write them there, then commit() the end.
  char* room(size_t n) {
    if (buffer_.size() - size_ < n)
      buffer_.resize(size_ + n > 2 * buffer_.size() ? size_ + n : 2 * buffer_.size());
    return buffer_.data() + size_;
  }
  // Ends the text at `end`: a pointer into the last room() past what was
  // written there.
  void commit(const char* end) { size_ = static_cast<size_t>(end - buffer_.data()); }

  void append(std::string_view text) {
    char* out = room(text.size());
    if (!text.empty()) std::memcpy(out, text.data(), text.size());
    size_ += text.size();
  }
  void push_back(char c) {
    *room(1) = c;
    ++size_;
  }
  // Drops the last character; the text must not be empty.
  void pop_back() { --size_; }
  void clear() { size_ = 0; }

  size_t size() const { return size_; }
  // The text; valid until the next change.
  std::string_view view() const { return {buffer_.data(), size_}; }

 private:
  std::vector<char> buffer_;  // its size is the capacity in use
  size_t size_ = 0;           // characters of text at the front of buffer_
};

#endif  // VK_SONY_PROPERTIES_TEXT_WRITER_H
