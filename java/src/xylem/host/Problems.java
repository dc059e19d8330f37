package xylem.host;

import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import javax.xml.transform.SourceLocator;
import javax.xml.transform.TransformerException;
import net.sf.saxon.expr.parser.XPathParser;
import net.sf.saxon.om.NodeInfo;
import net.sf.saxon.s9api.SaxonApiException;
import net.sf.saxon.tree.AttributeLocation;
import net.sf.saxon.trans.XPathException;
import net.sf.saxon.type.Type;
import org.xml.sax.SAXParseException;

/** The findings of one request, each with the processor's code, message, URL, line and column. */
final class Problems {
  final List<Object> list = new ArrayList<>();

  void add(String severity, String code, String message, String url, int line, int column) {
    list.add(record(severity, code, message, url, line, column));
  }

  private static Map<String, Object> record(String severity, String code, String message, String url, int line,
                                            int column) {
    Map<String, Object> p = new LinkedHashMap<>();
    p.put("severity", severity);
    p.put("code", code == null ? "" : code);
    p.put("message", message == null ? "" : message);
    p.put("url", url == null ? "" : url);
    p.put("line", line);
    p.put("column", column);
    return p;
  }

  /** Xerces puts the constraint name first ("cvc-id.1: ..."); it becomes the code. */
  void add(String severity, SAXParseException e) {
    String message = e.getMessage() == null ? e.toString() : e.getMessage();
    String code = "";
    int colon = message.indexOf(": ");
    if (colon > 0 && message.substring(0, colon).matches("(cvc|src|sch-props|s4s|ct-props|cos|a-props|e-props|p-props|ag-props|st-props|derivation-ok|enumeration|mg-props|rcase|au-props)[-.A-Za-z0-9]*")) {
      code = message.substring(0, colon);
      message = message.substring(colon + 2);
    }
    add(severity, code, message, e.getSystemId(), e.getLineNumber(), e.getColumnNumber());
  }

  void add(String severity, TransformerException e) {
    String code = "";
    if (e instanceof XPathException) {
      String local = ((XPathException) e).getErrorCodeLocalPart();
      if (local != null) code = local;
    }
    SourceLocator at = e.getLocator();
    String message = e.getMessage();
    if (at == null) {
      add(severity, code, message, "", -1, -1);
      return;
    }
    // An expression inside a stylesheet attribute: Saxon knows the element, the attribute and the
    // character index in the expression, which the client turns into an exact position.
    if (at instanceof XPathParser.NestedLocation
        && ((XPathParser.NestedLocation) at).getContainingLocation() instanceof AttributeLocation) {
      XPathParser.NestedLocation nested = (XPathParser.NestedLocation) at;
      AttributeLocation attribute = (AttributeLocation) nested.getContainingLocation();
      Map<String, Object> p = record(severity, code, message, attribute.getSystemId(), attribute.getLineNumber(),
                                     attribute.getColumnNumber());
      p.put("element", attribute.getElementName().getDisplayName());
      p.put("attribute", attribute.getAttributeName().getDisplayName());
      p.put("char", nested.getColumnNumber());
      list.add(p);
      return;
    }
    // Static errors on an attribute (a type error found while compiling, an attribute not allowed)
    // or on an element: the client places them on that attribute or start tag.
    Map<String, Object> p = record(severity, code, message, at.getSystemId(), at.getLineNumber(),
                                   at.getColumnNumber());
    if (at instanceof AttributeLocation) {
      p.put("element", ((AttributeLocation) at).getElementName().getDisplayName());
      p.put("attribute", ((AttributeLocation) at).getAttributeName().getDisplayName());
    } else if (at instanceof NodeInfo && ((NodeInfo) at).getNodeKind() == Type.ELEMENT) {
      p.put("element", ((NodeInfo) at).getDisplayName());
    }
    list.add(p);
  }

  void add(String severity, SaxonApiException e) {
    Throwable cause = e.getCause();
    if (cause instanceof TransformerException) {
      add(severity, (TransformerException) cause);
      return;
    }
    String code = e.getErrorCode() == null ? "" : e.getErrorCode().getLocalName();
    add(severity, code, e.getMessage(), e.getSystemId(), e.getLineNumber(), -1);
  }

  boolean hasErrors() {
    for (Object p : list) {
      Object severity = ((Map<?, ?>) p).get("severity");
      if ("error".equals(severity) || "fatal".equals(severity)) return true;
    }
    return false;
  }
}
