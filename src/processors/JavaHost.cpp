#include "processors/JavaHost.hpp"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

extern char** environ;

namespace xylem {

namespace {

#ifdef XYLEM_HOST_CLASSPATH
constexpr const char* kBuiltClassPath = XYLEM_HOST_CLASSPATH;
constexpr const char* kBuiltJava = XYLEM_JAVA;
#else
constexpr const char* kBuiltClassPath = "";
constexpr const char* kBuiltJava = "";
#endif

std::string describeExit(int Status) {
  if (WIFSIGNALED(Status)) return "killed by signal " + std::to_string(WTERMSIG(Status));
  if (WIFEXITED(Status)) return "exit code " + std::to_string(WEXITSTATUS(Status));
  return "status " + std::to_string(Status);
}

}  // namespace

CyJavaHost::CyJavaHost(TyJavaHostOptions Options) : Options_(std::move(Options)) {
  if (Options_.Java.empty()) Options_.Java = kBuiltJava;
  if (Options_.ClassPath.empty()) {
    const char* env = std::getenv("XYLEM_HOST_CLASSPATH");
    Options_.ClassPath = env && *env ? env : kBuiltClassPath;
  }
}

CyJavaHost::~CyJavaHost() {
  std::unique_lock<std::mutex> lock(Lock_);
  StopLocked_(lock);
}

bool CyJavaHost::IsBuiltIn() { return kBuiltClassPath[0] != 0; }

CyJavaHost& CyJavaHost::Shared() {
  static CyJavaHost host;
  return host;
}

pid_t CyJavaHost::getProcessID() const {
  std::lock_guard<std::mutex> lock(Lock_);
  return Ready_ ? Child_ : 0;
}

int32_t CyJavaHost::getStartCount() const {
  std::lock_guard<std::mutex> lock(Lock_);
  return StartCount_;
}

std::string CyJavaHost::getSaxonVersion() const {
  std::lock_guard<std::mutex> lock(Lock_);
  return SaxonVersion_;
}

// Called with Lock_ held. Ends the current host (if any) and joins its reader.
void CyJavaHost::StopLocked_(std::unique_lock<std::mutex>& Lock) {
  if (Socket_ >= 0) shutdown(Socket_, SHUT_WR);  // end of input: the host exits by itself
  const pid_t child = Child_;
  Ready_ = false;
  if (Reader_.joinable()) {
    std::thread reader = std::move(Reader_);
    Lock.unlock();
    if (child > 0) {
      // A grace period for a clean exit, then the hard way; the reader reaps the child.
      for (int i = 0; i < 40 && kill(child, 0) == 0; ++i) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child) break;
        usleep(50000);
      }
      kill(child, SIGKILL);
    }
    reader.join();
    Lock.lock();
  }
  if (Socket_ >= 0) close(Socket_);
  Socket_ = -1;
  Child_ = 0;
}

bool CyJavaHost::StartLocked_(std::string& Error) {
  if (!IsBuiltIn() && Options_.ClassPath.empty()) {
    Error =
        "The Java processor host is not part of this build (it needs a JDK, Saxon-HE, "
        "Xerces-J and Jing)";
    return false;
  }
  int sockets[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
    Error = std::string("Cannot make the host's channel: ") + std::strerror(errno);
    return false;
  }
  std::vector<std::string> args{Options_.Java};
  args.insert(args.end(), Options_.JVMArguments.begin(), Options_.JVMArguments.end());
  args.insert(args.end(), {"-cp", Options_.ClassPath, "xylem.host.Host"});
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, sockets[1], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, sockets[1], STDOUT_FILENO);
  if (!std::getenv("XYLEM_HOST_STDERR"))
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int rc = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(sockets[1]);
  if (rc != 0) {
    close(sockets[0]);
    Error = "Cannot start the Java host (" + Options_.Java + "): " + std::strerror(rc);
    return false;
  }
  Socket_ = sockets[0];
  Child_ = child;
  ++Generation_;
  ++StartCount_;
  StartError_.clear();
  Reader_ = std::thread(&CyJavaHost::ReadLoop_, this, Socket_, child, Generation_);
  return true;
}

void CyJavaHost::ReadLoop_(int Socket, pid_t Child, int64_t Generation) {
  std::string buffer;
  char chunk[65536];
  size_t scanned = 0;
  for (;;) {
    const ssize_t got = read(Socket, chunk, sizeof chunk);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    buffer.append(chunk, static_cast<size_t>(got));
    size_t start = 0;
    for (size_t end; (end = buffer.find('\n', scanned)) != std::string::npos; scanned = start) {
      nlohmann::json answer =
          nlohmann::json::parse(buffer.begin() + static_cast<std::ptrdiff_t>(start),
                                buffer.begin() + static_cast<std::ptrdiff_t>(end), nullptr, false);
      start = end + 1;
      if (answer.is_discarded() || !answer.contains("id")) continue;
      const int64_t id = answer["id"].get<int64_t>();
      std::lock_guard<std::mutex> lock(Lock_);
      if (Generation != Generation_) continue;
      if (id == 0) {
        Ready_ = true;
        SaxonVersion_ = answer.value("saxon", "");
      } else if (auto found = Pending_.find(id); found != Pending_.end()) {
        found->second->Reply.Body = std::move(answer);
        found->second->Done = true;
        Pending_.erase(found);
      }
      Changed_.notify_all();
    }
    buffer.erase(0, start);
    scanned = buffer.size();
  }
  int status = 0;
  const std::string how = waitpid(Child, &status, 0) == Child ? describeExit(status) : "ended";
  std::lock_guard<std::mutex> lock(Lock_);
  if (Generation != Generation_) return;
  // Everything still waiting on this host fails; the next call starts a new one.
  const std::string message =
      Ready_ ? "The Java host ended unexpectedly (" + how + "); the next request starts a new host"
             : "The Java host could not start (" + how + ")";
  if (!Ready_) StartError_ = message;
  AbandonLocked_(message);
}

void CyJavaHost::AbandonLocked_(const std::string& Message) {
  for (auto& [id, pending] : Pending_) {
    pending->Reply.Failure = TyHostFailure::hfDied;
    pending->Reply.FailureMessage = Message;
    pending->Done = true;
  }
  Pending_.clear();
  Ready_ = false;
  Child_ = 0;
  ++Generation_;  // marks this host as gone; its reader only reaps it
  Changed_.notify_all();
}

bool CyJavaHost::Send_(const std::string& Line) {
  std::lock_guard<std::mutex> lock(WriteLock_);
  int socket;
  {
    std::lock_guard<std::mutex> state(Lock_);
    socket = Socket_;
  }
  size_t sent = 0;
  while (sent < Line.size()) {
    const ssize_t n = send(socket, Line.data() + sent, Line.size() - sent, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    sent += static_cast<size_t>(n);
  }
  return true;
}

TyHostReply CyJavaHost::Call(nlohmann::json Request, std::stop_token Stop,
                             std::chrono::milliseconds Timeout) {
  std::unique_lock<std::mutex> lock(Lock_);
  // A host that ended (its reader bumped the generation and cleared the child) is replaced.
  if (Child_ == 0 || Socket_ < 0) {
    StopLocked_(lock);
    std::string error;
    if (!StartLocked_(error)) {
      TyHostReply reply;
      reply.Failure = TyHostFailure::hfUnavailable;
      reply.FailureMessage = error;
      return reply;
    }
  }
  const int64_t generation = Generation_;
  if (!Changed_.wait_for(lock, Options_.StartTimeout,
                         [&] { return Ready_ || Generation_ != generation; }) ||
      !Ready_) {
    TyHostReply reply;
    reply.Failure = TyHostFailure::hfUnavailable;
    reply.FailureMessage =
        StartError_.empty() ? "The Java host did not start in time" : StartError_;
    if (Child_ > 0) kill(Child_, SIGKILL);
    return reply;
  }
  const int64_t id = NextID_++;
  Request["id"] = id;
  auto pending = std::make_shared<TyPending>();
  Pending_[id] = pending;
  const pid_t child = Child_;
  lock.unlock();
  const bool sent =
      Send_(Request.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) + "\n");
  lock.lock();
  if (!sent) {
    // The reader will see the end and fail the request; wait for that below.
    if (Child_ == child && child > 0) kill(child, SIGKILL);
  }
  // The stop-aware wait also covers a stop requested before the wait began.
  const auto done = [&] { return pending->Done; };
  if (Timeout == std::chrono::milliseconds::zero()) {
    Changed_.wait(lock, Stop, done);
  } else if (!Changed_.wait_until(lock, Stop, std::chrono::steady_clock::now() + Timeout, done) &&
             !Stop.stop_requested()) {
    Pending_.erase(id);
    const std::string message = "The Java host did not answer within " +
                                std::to_string(Timeout.count()) +
                                " ms; it was stopped and the next request starts a new host";
    // Gone from now on, so the next call starts a new host instead of racing the reader.
    if (Child_ == child && child > 0) {
      kill(child, SIGKILL);
      AbandonLocked_(message);
    }
    TyHostReply reply;
    reply.Failure = TyHostFailure::hfTimedOut;
    reply.FailureMessage = message;
    return reply;
  }
  if (!pending->Done) {
    Pending_.erase(id);
    lock.unlock();
    Send_(nlohmann::json{{"op", "cancel"}, {"id", -1}, {"target", id}}.dump() + "\n");
    TyHostReply reply;
    reply.Failure = TyHostFailure::hfCancelled;
    reply.FailureMessage = "The request was cancelled";
    return reply;
  }
  return std::move(pending->Reply);
}

}  // namespace xylem
