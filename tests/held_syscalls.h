// What the held_* test helpers share: a seccomp filter that hands chosen system calls of a child
// process to the test (a user notification), and the passing of its listener from the child to
// the test over a socket. The child installs the filter between fork and exec, so the program
// under test runs with it from its first instruction and needs no hook of its own.
#pragma once

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <vector>

namespace vorno::testing {

/// A filter that hands `calls` to the listener and allows every other system call.
inline std::vector<sock_filter> notifyingFilter(const std::vector<unsigned>& calls) {
  std::vector<sock_filter> filter;
  filter.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)));
  for (size_t i = 0; i < calls.size(); ++i)
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, calls[i], static_cast<unsigned char>(calls.size() - i), 0));
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF));
  return filter;
}

// One byte of data with room for one descriptor beside it: the form both ends of the socket use.
struct DescriptorMessage {
  char byte = 0;
  iovec data{&byte, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message{};
  DescriptorMessage() {
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
  }
  DescriptorMessage(const DescriptorMessage&) = delete;  // the header points into itself
};

inline bool sendDescriptor(int socket, int descriptor) {
  DescriptorMessage form;
  msghdr& message = form.message;
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  std::memcpy(CMSG_DATA(header), &descriptor, sizeof(int));
  return ::sendmsg(socket, &message, 0) == 1;
}

/// The descriptor the child sent, or -1 when it could not install its filter.
inline int receiveDescriptor(int socket) {
  DescriptorMessage form;
  msghdr& message = form.message;
  if (::recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != 1) return -1;
  cmsghdr* header = CMSG_FIRSTHDR(&message);
  if (!header || header->cmsg_type != SCM_RIGHTS) return -1;
  int descriptor = -1;
  std::memcpy(&descriptor, CMSG_DATA(header), sizeof(int));
  return descriptor;
}

/// In the child, between fork and exec: installs `program` and sends its listener on `channel`.
/// Only system calls, so it is safe after a fork of a threaded process. False when it failed.
inline bool installNotifyingFilter(const sock_fprog& program, int channel) {
  if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
  long listener = ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &program);
  if (listener < 0) return false;
  bool sent = sendDescriptor(channel, static_cast<int>(listener));
  ::close(static_cast<int>(listener));
  return sent;
}

}  // namespace vorno::testing
