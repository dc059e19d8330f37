package xylem.host;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** A small RFC 8259 reader and writer: objects become LinkedHashMap, arrays ArrayList, numbers Double. */
final class Json {
  private final String text;
  private int at;

  private Json(String text) {
    this.text = text;
  }

  /** Parses one JSON value; throws IllegalArgumentException with the offset on bad input. */
  static Object parse(String text) {
    Json reader = new Json(text);
    Object value = reader.value();
    reader.space();
    if (reader.at != text.length()) throw reader.fail("text after the value");
    return value;
  }

  private IllegalArgumentException fail(String what) {
    return new IllegalArgumentException("bad JSON at offset " + at + ": " + what);
  }

  private void space() {
    while (at < text.length() && " \t\r\n".indexOf(text.charAt(at)) >= 0) at++;
  }

  private Object value() {
    space();
    if (at >= text.length()) throw fail("unexpected end");
    char c = text.charAt(at);
    switch (c) {
      case '{': return object();
      case '[': return array();
      case '"': return string();
      case 't': return word("true", Boolean.TRUE);
      case 'f': return word("false", Boolean.FALSE);
      case 'n': return word("null", null);
      default: return number();
    }
  }

  private Object word(String word, Object value) {
    if (!text.startsWith(word, at)) throw fail("unknown word");
    at += word.length();
    return value;
  }

  private Map<String, Object> object() {
    Map<String, Object> map = new LinkedHashMap<>();
    at++;
    space();
    if (at < text.length() && text.charAt(at) == '}') {
      at++;
      return map;
    }
    while (true) {
      space();
      if (at >= text.length() || text.charAt(at) != '"') throw fail("expected a member name");
      String name = string();
      space();
      if (at >= text.length() || text.charAt(at) != ':') throw fail("expected ':'");
      at++;
      map.put(name, value());
      space();
      if (at < text.length() && text.charAt(at) == ',') {
        at++;
        continue;
      }
      if (at < text.length() && text.charAt(at) == '}') {
        at++;
        return map;
      }
      throw fail("expected ',' or '}'");
    }
  }

  private List<Object> array() {
    List<Object> list = new ArrayList<>();
    at++;
    space();
    if (at < text.length() && text.charAt(at) == ']') {
      at++;
      return list;
    }
    while (true) {
      list.add(value());
      space();
      if (at < text.length() && text.charAt(at) == ',') {
        at++;
        continue;
      }
      if (at < text.length() && text.charAt(at) == ']') {
        at++;
        return list;
      }
      throw fail("expected ',' or ']'");
    }
  }

  private String string() {
    StringBuilder out = new StringBuilder();
    at++;
    while (true) {
      if (at >= text.length()) throw fail("unterminated string");
      char c = text.charAt(at++);
      if (c == '"') return out.toString();
      if (c != '\\') {
        out.append(c);
        continue;
      }
      if (at >= text.length()) throw fail("unterminated escape");
      char e = text.charAt(at++);
      switch (e) {
        case 'n': out.append('\n'); break;
        case 'r': out.append('\r'); break;
        case 't': out.append('\t'); break;
        case 'b': out.append('\b'); break;
        case 'f': out.append('\f'); break;
        case 'u':
          if (at + 4 > text.length()) throw fail("short \\u escape");
          out.append((char) Integer.parseInt(text.substring(at, at + 4), 16));
          at += 4;
          break;
        default: out.append(e);
      }
    }
  }

  private Double number() {
    int start = at;
    while (at < text.length() && "+-0123456789.eE".indexOf(text.charAt(at)) >= 0) at++;
    if (start == at) throw fail("unexpected character");
    return Double.valueOf(text.substring(start, at));
  }

  /** Writes a value made of maps, lists, strings, numbers, booleans and null as one line. */
  static void write(StringBuilder out, Object value) {
    if (value == null) {
      out.append("null");
    } else if (value instanceof String) {
      quote(out, (String) value);
    } else if (value instanceof Boolean) {
      out.append(value.toString());
    } else if (value instanceof Integer || value instanceof Long) {
      out.append(value.toString());
    } else if (value instanceof Number) {
      double d = ((Number) value).doubleValue();
      if (d == Math.rint(d) && Math.abs(d) < 1e15) out.append((long) d);
      else out.append(d);
    } else if (value instanceof Map) {
      out.append('{');
      boolean first = true;
      for (Map.Entry<?, ?> entry : ((Map<?, ?>) value).entrySet()) {
        if (!first) out.append(',');
        first = false;
        quote(out, entry.getKey().toString());
        out.append(':');
        write(out, entry.getValue());
      }
      out.append('}');
    } else if (value instanceof List) {
      out.append('[');
      boolean first = true;
      for (Object item : (List<?>) value) {
        if (!first) out.append(',');
        first = false;
        write(out, item);
      }
      out.append(']');
    } else {
      quote(out, value.toString());
    }
  }

  private static void quote(StringBuilder out, String s) {
    out.append('"');
    for (int i = 0; i < s.length(); i++) {
      char c = s.charAt(i);
      switch (c) {
        case '"': out.append("\\\""); break;
        case '\\': out.append("\\\\"); break;
        case '\n': out.append("\\n"); break;
        case '\r': out.append("\\r"); break;
        case '\t': out.append("\\t"); break;
        default:
          // Escaping everything outside ASCII keeps the stream independent of the JVM's charset.
          if (c < 0x20 || c > 0x7E) out.append(String.format("\\u%04x", (int) c));
          else out.append(c);
      }
    }
    out.append('"');
  }
}
