#include "output.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

Output::Output(int descriptor, std::string name)
    : fd(descriptor), own(false), called(std::move(name)), buffer(new char[kRoom])
{
}

Output::Output(const std::string& fileName, unsigned mode)
    : fd(open(fileName.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode)), own(true), called(fileName),
      buffer(new char[kRoom])
{
  if (fd < 0) fail(errno);
}

Output::~Output()
{
  if (own && fd >= 0) ::close(fd);
}

void Output::fail(int error, size_t left)
{
  used = 0; // a later flush must not try again
  throw OutputError(called + ": cannot be written: " + strerror(error), error == EPIPE, left);
}

// The system may take a part of the octets, above all a pipe.
int writeAll(int descriptor, std::string_view& text)
{
  while (!text.empty()) {
    ssize_t done = ::write(descriptor, text.data(), text.size());
    pollfd ready = {descriptor, POLLOUT, 0};
    if (done >= 0)
      text.remove_prefix(static_cast<size_t>(done));
    else if (errno == EAGAIN)
      poll(&ready, 1, -1);
    else if (errno != EINTR)
      return errno;
  }
  return 0;
}

void holdDescriptors()
{
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd)
    if (fcntl(fd, F_GETFD) < 0 && open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY) < 0) return;
}

void Output::hand(std::string_view text)
{
  if (int error = writeAll(fd, text)) fail(error, text.size());
}

void Output::flush()
{
  size_t count = used;
  used = 0;
  hand({buffer.get(), count});
}

void Output::write(std::string_view text)
{
  if (text.empty()) return; // it may have no address to copy from
  if (text.size() > kRoom - used) flush();
  if (text.size() > kRoom) return hand(text);
  memcpy(buffer.get() + used, text.data(), text.size());
  used += text.size();
}

void Output::print(const char* format, ...)
{
  va_list args, again;
  va_start(args, format);
  va_copy(again, args);
  int count = vsnprintf(nullptr, 0, format, args);
  va_end(args);
  std::string text(count < 0 ? 0 : static_cast<size_t>(count), 0);
  vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  write(text);
}

void Output::close()
{
  flush();
  int closing = own ? fd : -1;
  fd = own ? -1 : fd;
  if (closing >= 0 && ::close(closing) < 0) fail(errno);
}

bool Output::isTerminal() const
{
  return isatty(fd) == 1;
}
