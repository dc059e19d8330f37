package xylem.host;

/** Ends a request whose findings are already in its Problems. */
final class Failure extends Exception {
  private static final long serialVersionUID = 1L;

  Failure() {
    super(null, null, false, false);
  }
}
