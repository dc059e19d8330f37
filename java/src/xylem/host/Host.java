package xylem.host;

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;

/**
 * The processor host: reads one JSON request per line on standard input and answers each with
 * one JSON line on standard output, in completion order. Requests run concurrently; {"op":
 * "cancel", "target": N} stops request N, which then answers with ok false and code "cancelled".
 * The host ends when its input ends, so it never outlives its parent.
 */
public final class Host {
  private final PrintStream out;
  private final SaxonRequests saxon = new SaxonRequests();
  private final SchemaRequests schemas = new SchemaRequests();
  private final Map<Long, Thread> running = new ConcurrentHashMap<>();
  private final Map<Long, Boolean> cancelled = new ConcurrentHashMap<>();
  // Runs the grace timers of cancellations.
  private final ExecutorService pool = Executors.newCachedThreadPool(r -> {
    Thread t = new Thread(r, "cancel-grace");
    t.setDaemon(true);
    return t;
  });

  private Host(OutputStream stdout) {
    out = new PrintStream(stdout, false, StandardCharsets.US_ASCII);
  }

  public static void main(String[] args) throws Exception {
    // Processors print to System.err and System.out on their own; keep our channel clean.
    PrintStream channel = System.out;
    System.setOut(System.err);
    new Host(channel).run();
  }

  private void run() throws Exception {
    BufferedReader in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
    send(reply(0L, true, new Problems(), Map.of("ready", true, "saxon", saxon.version())));
    String line;
    while ((line = in.readLine()) != null) {
      if (line.isBlank()) continue;
      Map<?, ?> request;
      long id;
      try {
        request = (Map<?, ?>) Json.parse(line);
        id = ((Number) request.get("id")).longValue();
      } catch (RuntimeException e) {
        Problems problems = new Problems();
        problems.add("fatal", "bad-request", e.toString(), "", -1, -1);
        send(reply(-1L, false, problems, null));
        continue;
      }
      String op = String.valueOf(request.get("op"));
      if (op.equals("cancel")) {
        cancel(((Number) request.get("target")).longValue());
      } else {
        // A thread of its own per request: an interrupt or a stop meant for a cancelled
        // request can never land in a later one, as it could on a reused pool thread.
        final long requestId = id;
        Thread worker = new Thread(() -> serve(requestId, op, request), "request-" + requestId);
        worker.setDaemon(true);
        worker.start();
      }
    }
    // Input ended: the parent is done. Let answers in progress go out, briefly.
    pool.shutdown();
    for (int waited = 0; !running.isEmpty() && waited < 10000; waited += 20) Thread.sleep(20);
    System.exit(0);
  }

  @SuppressWarnings("deprecation")
  private void cancel(long target) {
    Thread thread;
    synchronized (running) {
      thread = running.get(target);
      if (thread == null) return;
      cancelled.put(target, true);
      thread.interrupt();
    }
    // The processors do not poll interrupts; stop the thread if it is still busy after a grace.
    pool.execute(() -> {
      try {
        Thread.sleep(200);
      } catch (InterruptedException ignored) {
        return;
      }
      // Under the lock the request cannot have left its work yet: its reply line is never cut.
      synchronized (running) {
        if (running.get(target) == thread) {
          try {
            thread.stop();
          } catch (UnsupportedOperationException ignored) {
            // A newer JVM: the request finishes on its own and its answer is dropped.
          }
        }
      }
    });
  }

  private void serve(long id, String op, Map<?, ?> request) {
    running.put(id, Thread.currentThread());
    Problems problems = new Problems();
    Map<String, Object> result = null;
    boolean ok;
    try {
      switch (op) {
        case "ping": result = Map.of("saxon", saxon.version()); break;
        case "xpath": result = saxon.xpath(request, problems); break;
        case "xquery": result = saxon.xquery(request, problems); break;
        case "xslt": result = saxon.xslt(request, problems); break;
        case "xsd": result = schemas.xsd(request, problems); break;
        case "rng": result = schemas.rng(request, problems); break;
        default: problems.add("fatal", "bad-request", "Unknown operation " + op, "", -1, -1);
      }
      ok = result != null;
    } catch (Failure f) {
      ok = false;
    } catch (ThreadDeath | Exception | StackOverflowError | OutOfMemoryError e) {
      if (!cancelled.containsKey(id)) problems.add("fatal", "", "Processor failure: " + e, "", -1, -1);
      ok = false;
    } finally {
      synchronized (running) {
        running.remove(id);
      }
    }
    if (cancelled.remove(id) != null) {
      problems = new Problems();
      problems.add("termination", "cancelled", "The request was cancelled", "", -1, -1);
      ok = false;
      Thread.interrupted();
    }
    send(reply(id, ok, problems, result));
  }

  private static Map<String, Object> reply(long id, boolean ok, Problems problems, Map<String, Object> result) {
    Map<String, Object> answer = new LinkedHashMap<>();
    answer.put("id", id);
    answer.put("ok", ok);
    answer.put("errors", problems.list);
    if (result != null) answer.putAll(result);
    return answer;
  }

  private void send(Map<String, Object> answer) {
    StringBuilder line = new StringBuilder();
    Json.write(line, answer);
    synchronized (out) {
      out.print(line);
      out.print('\n');
      out.flush();
    }
  }
}
