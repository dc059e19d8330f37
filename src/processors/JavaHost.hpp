#pragma once
// The client of the Java processor host: one JVM running Saxon-HE, Xerces-J and Jing, started on
// first use and kept, spoken to in JSON lines over a socket pair on its standard input and output.
// Requests carry an id and may run concurrently; a request can be cancelled; a host that dies or
// stops answering is detected, its requests fail with a clear message and the next request
// starts a fresh host.

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

namespace xylem {

struct TyJavaHostOptions {
  std::string Java;       // the java launcher; empty: the one found at build time
  std::string ClassPath;  // empty: XYLEM_HOST_CLASSPATH from the environment, else the build's
  std::vector<std::string> JVMArguments{"-Xss16m", "-XX:+UseSerialGC"};
  std::chrono::milliseconds StartTimeout{60000};  // until the host says it is ready
};

// Why a call failed on the client's side (the host's own findings come in Body's errors).
enum class TyHostFailure : uint8_t {
  hfNone,
  hfUnavailable,  // built without the host, or the JVM could not be started
  hfDied,         // the host ended while the request ran
  hfTimedOut,     // no answer in time; the host was stopped
  hfCancelled,
};

struct TyHostReply {
  TyHostFailure Failure = TyHostFailure::hfNone;
  std::string FailureMessage;  // set when Failure is not hfNone
  nlohmann::json Body;         // the host's answer: {"id", "ok", "errors": [...], ...}
  bool getOk() const { return Failure == TyHostFailure::hfNone && Body.value("ok", false); }
};

// Thread-safe: any number of threads may call at once; each call blocks its own thread only.
class CyJavaHost {
 public:
  explicit CyJavaHost(TyJavaHostOptions Options = {});
  // Ends the host: closes its input (it exits on its own), kills it after a grace period.
  ~CyJavaHost();
  CyJavaHost(const CyJavaHost&) = delete;
  CyJavaHost& operator=(const CyJavaHost&) = delete;

  // True when the program was built with the host (a JDK and the processor jars were found).
  static bool IsBuiltIn();
  // The host of the process, made on first use.
  static CyJavaHost& Shared();

  // Sends Request (an object with "op"; its "id" is set here), starting the host first when
  // none runs, and waits for the answer. A stop request on Stop tells the host to cancel and
  // returns hfCancelled at once. Timeout (zero: none): past it the host is killed and the reply
  // is hfTimedOut.
  TyHostReply Call(nlohmann::json Request, std::stop_token Stop = {},
                   std::chrono::milliseconds Timeout = std::chrono::milliseconds::zero());

  // Process id of the running host; 0 when none runs.
  pid_t getProcessID() const;
  // How many hosts this client has started.
  int32_t getStartCount() const;
  // The Saxon version the host reported at start ("" before the first start).
  std::string getSaxonVersion() const;

 private:
  struct TyPending {
    bool Done = false;
    TyHostReply Reply;
  };
  bool StartLocked_(std::string& Error);
  void StopLocked_(std::unique_lock<std::mutex>& Lock);
  void ReadLoop_(int Socket, pid_t Child, int64_t Generation);
  // Fails every waiting request with Message and marks the running host as gone.
  void AbandonLocked_(const std::string& Message);
  bool Send_(const std::string& Line);

  TyJavaHostOptions Options_;
  mutable std::mutex Lock_;
  std::condition_variable_any Changed_;  // stop-aware waits
  int Socket_ = -1;
  pid_t Child_ = 0;
  int64_t Generation_ = 0;  // which host Pending_ entries and the reader belong to
  bool Ready_ = false;
  std::string StartError_;
  std::string SaxonVersion_;
  int32_t StartCount_ = 0;
  int64_t NextID_ = 1;
  std::map<int64_t, std::shared_ptr<TyPending>> Pending_;
  std::thread Reader_;
  std::mutex WriteLock_;
};

}  // namespace xylem
