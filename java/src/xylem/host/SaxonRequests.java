package xylem.host;

import java.io.File;
import java.io.StringWriter;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import javax.xml.transform.ErrorListener;
import javax.xml.transform.SourceLocator;
import javax.xml.transform.TransformerException;
import javax.xml.transform.sax.SAXSource;
import net.sf.saxon.lib.Feature;
import net.sf.saxon.s9api.Axis;
import net.sf.saxon.s9api.DocumentBuilder;
import net.sf.saxon.s9api.ItemType;
import net.sf.saxon.s9api.Processor;
import net.sf.saxon.s9api.QName;
import net.sf.saxon.s9api.SaxonApiException;
import net.sf.saxon.s9api.Serializer;
import net.sf.saxon.s9api.XPathCompiler;
import net.sf.saxon.s9api.XPathSelector;
import net.sf.saxon.s9api.XQueryCompiler;
import net.sf.saxon.s9api.XQueryEvaluator;
import net.sf.saxon.s9api.XdmAtomicValue;
import net.sf.saxon.s9api.XdmItem;
import net.sf.saxon.s9api.XdmNode;
import net.sf.saxon.s9api.XdmNodeKind;
import net.sf.saxon.s9api.XdmSequenceIterator;
import net.sf.saxon.s9api.XdmValue;
import net.sf.saxon.s9api.Xslt30Transformer;
import net.sf.saxon.s9api.XsltCompiler;
import net.sf.saxon.s9api.XsltExecutable;

/** XPath 3.1, XSLT 3.0 and XQuery 3.1 requests, run by Saxon-HE. One processor for all threads. */
final class SaxonRequests {
  private final Processor processor = new Processor(false);

  SaxonRequests() {
    processor.setConfigurationProperty(Feature.LINE_NUMBERING, true);
  }

  String version() {
    return processor.getSaxonProductVersion();
  }

  /** Collects static and recoverable errors reported while compiling or running. */
  private static ErrorListener listener(Problems problems) {
    return new ErrorListener() {
      @Override
      public void warning(TransformerException e) {
        problems.add("warning", e);
      }

      @Override
      public void error(TransformerException e) {
        problems.add("error", e);
      }

      @Override
      public void fatalError(TransformerException e) {
        problems.add("error", e);
      }
    };
  }

  /** Reports e unless the error listener has already reported the same failure. */
  private static Failure fail(Problems problems, SaxonApiException e) {
    if (!problems.hasErrors()) problems.add("error", e);
    return new Failure();
  }

  private XdmNode document(Map<?, ?> request, Guard guard, Problems problems) throws Failure {
    try {
      SAXSource source = guard.source(request, "");
      if (source == null) return null;
      DocumentBuilder builder = processor.newDocumentBuilder();
      builder.setLineNumbering(true);
      return builder.build(source);
    } catch (SaxonApiException e) {
      throw fail(problems, e);
    } catch (TransformerException e) {
      problems.add("error", e);
      throw new Failure();
    }
  }

  /** Values given on the command line are untyped, so they promote as a document's text would. */
  private static Map<QName, XdmValue> values(Object given) throws SaxonApiException {
    Map<QName, XdmValue> out = new LinkedHashMap<>();
    if (given instanceof Map) {
      for (Map.Entry<?, ?> e : ((Map<?, ?>) given).entrySet()) {
        out.put(QName.fromClarkName(e.getKey().toString()),
                new XdmAtomicValue(String.valueOf(e.getValue()), ItemType.UNTYPED_ATOMIC));
      }
    }
    return out;
  }

  /** Nodes serialized as XML, atomic values as their string, maps and arrays adaptively. */
  private List<Object> items(XdmValue value) throws SaxonApiException {
    List<Object> out = new ArrayList<>();
    for (XdmItem item : value) {
      if (item.isAtomicValue()) {
        out.add(item.getStringValue());
        continue;
      }
      StringWriter text = new StringWriter();
      Serializer serializer = processor.newSerializer(text);
      serializer.setOutputProperty(Serializer.Property.METHOD, item instanceof XdmNode ? "xml" : "adaptive");
      serializer.setOutputProperty(Serializer.Property.OMIT_XML_DECLARATION, "yes");
      serializer.serializeXdmValue(item);
      out.add(text.toString());
    }
    return out;
  }

  Map<String, Object> xpath(Map<?, ?> request, Problems problems) throws Failure {
    Guard guard = new Guard(request);
    XdmNode doc = document(request, guard, problems);
    try {
      XPathCompiler compiler = processor.newXPathCompiler();
      compiler.setLanguageVersion("3.1");
      // The prefixes XPath 3.1's function library uses, then the root element's, then the given ones.
      compiler.declareNamespace("map", "http://www.w3.org/2005/xpath-functions/map");
      compiler.declareNamespace("array", "http://www.w3.org/2005/xpath-functions/array");
      compiler.declareNamespace("math", "http://www.w3.org/2005/xpath-functions/math");
      if (doc != null && Boolean.TRUE.equals(request.get("rootNs"))) {
        for (XdmSequenceIterator<XdmNode> children = doc.axisIterator(Axis.CHILD); children.hasNext();) {
          XdmNode child = children.next();
          if (child.getNodeKind() != XdmNodeKind.ELEMENT) continue;
          for (XdmSequenceIterator<XdmNode> ns = child.axisIterator(Axis.NAMESPACE); ns.hasNext();) {
            XdmNode n = ns.next();
            String prefix = n.getNodeName() == null ? "" : n.getNodeName().getLocalName();
            if (!prefix.isEmpty() && !prefix.equals("xml")) compiler.declareNamespace(prefix, n.getStringValue());
          }
          break;
        }
      }
      Object ns = request.get("ns");
      if (ns instanceof Map) {
        for (Map.Entry<?, ?> e : ((Map<?, ?>) ns).entrySet())
          compiler.declareNamespace(e.getKey().toString(), e.getValue().toString());
      }
      Map<QName, XdmValue> vars = values(request.get("vars"));
      for (QName name : vars.keySet()) compiler.declareVariable(name);
      XPathSelector selector = compiler.compile(String.valueOf(request.get("expr"))).load();
      if (doc != null) selector.setContextItem(doc);
      for (Map.Entry<QName, XdmValue> e : vars.entrySet()) selector.setVariable(e.getKey(), e.getValue());
      Map<String, Object> result = new HashMap<>();
      result.put("items", items(selector.evaluate()));
      return result;
    } catch (SaxonApiException e) {
      throw fail(problems, e);
    }
  }

  Map<String, Object> xquery(Map<?, ?> request, Problems problems) throws Failure {
    Guard guard = new Guard(request);
    XdmNode doc = document(request, guard, problems);
    try {
      XQueryCompiler compiler = processor.newXQueryCompiler();
      compiler.setLanguageVersion("3.1");
      compiler.setErrorListener(listener(problems));
      Object base = request.get("queryUrl");
      if (base instanceof String && !((String) base).isEmpty())
        compiler.setBaseURI(new java.net.URI(Guard.toURI((String) base)));
      XQueryEvaluator evaluator = compiler.compile(String.valueOf(request.get("query"))).load();
      evaluator.setURIResolver(guard);
      evaluator.setErrorListener(listener(problems));
      if (doc != null) evaluator.setContextItem(doc);
      for (Map.Entry<QName, XdmValue> e : values(request.get("vars")).entrySet())
        evaluator.setExternalVariable(e.getKey(), e.getValue());
      Map<String, Object> result = new HashMap<>();
      result.put("items", items(evaluator.evaluate()));
      return result;
    } catch (SaxonApiException e) {
      throw fail(problems, e);
    } catch (java.net.URISyntaxException e) {
      problems.add("error", "", e.getMessage(), "", -1, -1);
      throw new Failure();
    }
  }

  Map<String, Object> xslt(Map<?, ?> request, Problems problems) throws Failure {
    Guard guard = new Guard(request);
    try {
      XsltCompiler compiler = processor.newXsltCompiler();
      compiler.setErrorListener(listener(problems));
      compiler.setURIResolver(guard);
      SAXSource stylesheet = guard.source(request, "stylesheet");
      XsltExecutable executable = compiler.compile(stylesheet);
      Xslt30Transformer transformer = executable.load30();
      transformer.setErrorListener(listener(problems));
      transformer.setURIResolver(guard);
      transformer.setMessageListener((XdmNode content, boolean terminate, SourceLocator at) ->
          problems.add(terminate ? "termination" : "info", terminate ? "XTMM9000" : "", content.getStringValue(),
                       at == null ? "" : at.getSystemId(), at == null ? -1 : at.getLineNumber(),
                       at == null ? -1 : at.getColumnNumber()));
      transformer.setStylesheetParameters(values(request.get("params")));
      Object mode = request.get("mode");
      if (mode instanceof String) transformer.setInitialMode(QName.fromClarkName((String) mode));
      Object output = request.get("output");
      StringWriter text = new StringWriter();
      Serializer serializer = output instanceof String ? transformer.newSerializer(new File((String) output))
                                                       : transformer.newSerializer(text);
      Object template = request.get("template");
      SAXSource source = guard.source(request, "");
      if (template instanceof String) {
        if (source != null) transformer.setGlobalContextItem(processor.newDocumentBuilder().build(source));
        transformer.callTemplate(QName.fromClarkName((String) template), serializer);
      } else {
        transformer.applyTemplates(source, serializer);
      }
      Map<String, Object> result = new HashMap<>();
      if (!(output instanceof String)) result.put("result", text.toString());
      return result;
    } catch (SaxonApiException e) {
      throw fail(problems, e);
    } catch (TransformerException e) {
      problems.add("error", e);
      throw new Failure();
    }
  }
}
