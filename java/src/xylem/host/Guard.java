package xylem.host;

import java.io.File;
import java.io.IOException;
import java.io.StringReader;
import java.net.URI;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import javax.xml.parsers.SAXParserFactory;
import javax.xml.transform.Source;
import javax.xml.transform.TransformerException;
import javax.xml.transform.URIResolver;
import javax.xml.transform.sax.SAXSource;
import org.apache.xerces.util.XMLCatalogResolver;
import org.w3c.dom.ls.LSInput;
import org.w3c.dom.ls.LSResourceResolver;
import org.xml.sax.EntityResolver;
import org.xml.sax.InputSource;
import org.xml.sax.SAXException;
import org.xml.sax.XMLReader;

/**
 * Resolves every reference a processor follows (entities, schema includes, xsl:include, doc()):
 * through the request's XML catalogs first, then as given when it is local. A network reference
 * that no catalog maps is refused with a message that says so; nothing is ever downloaded.
 */
final class Guard implements EntityResolver, LSResourceResolver, URIResolver {
  private final XMLCatalogResolver catalog;

  Guard(Map<?, ?> request) {
    Object catalogs = request.get("catalogs");
    if (catalogs instanceof List && !((List<?>) catalogs).isEmpty()) {
      List<?> list = (List<?>) catalogs;
      String[] files = new String[list.size()];
      for (int i = 0; i < files.length; i++) files[i] = new File(list.get(i).toString()).toURI().toString();
      catalog = new XMLCatalogResolver(files, true);
    } else {
      catalog = null;
    }
  }

  static boolean isNetwork(String uri) {
    if (uri == null) return false;
    String lower = uri.toLowerCase(Locale.ROOT);
    return lower.startsWith("http:") || lower.startsWith("https:") || lower.startsWith("ftp:");
  }

  static String refusal(String uri) {
    return "The reference " + uri + " is not mapped to a local file by any XML catalog; the network is never used";
  }

  private static String absolute(String systemId, String base) {
    if (systemId == null) return null;
    try {
      if (base != null && !base.isEmpty()) return new URI(base).resolve(new URI(systemId)).toString();
    } catch (Exception ignored) {
      // A reference that is not a URI is left as written.
    }
    return systemId;
  }

  @Override
  public InputSource resolveEntity(String publicId, String systemId) throws SAXException, IOException {
    if (catalog != null) {
      InputSource mapped = catalog.resolveEntity(publicId, systemId);
      if (mapped != null) return mapped;
    }
    if (isNetwork(systemId)) throw new SAXException(refusal(systemId));
    return null;
  }

  @Override
  public LSInput resolveResource(String type, String namespaceURI, String publicId, String systemId, String baseURI) {
    if (catalog != null) {
      LSInput mapped = catalog.resolveResource(type, namespaceURI, publicId, systemId, baseURI);
      if (mapped != null) return mapped;
    }
    String uri = absolute(systemId, baseURI);
    if (isNetwork(uri)) throw new IllegalStateException(refusal(uri));
    return null;
  }

  @Override
  public Source resolve(String href, String base) throws TransformerException {
    String uri = absolute(href, base);
    if (catalog != null) {
      try {
        String mapped = catalog.resolveURI(uri);
        if (mapped == null) mapped = catalog.resolveSystem(uri);
        if (mapped != null) return new SAXSource(reader(), new InputSource(mapped));
      } catch (IOException e) {
        throw new TransformerException(e);
      }
    }
    if (isNetwork(uri)) throw new TransformerException(refusal(uri));
    return null;
  }

  /** A namespace-aware parser that resolves through this guard. */
  XMLReader reader() throws TransformerException {
    try {
      SAXParserFactory factory = SAXParserFactory.newInstance();
      factory.setNamespaceAware(true);
      XMLReader reader = factory.newSAXParser().getXMLReader();
      reader.setEntityResolver(this);
      return reader;
    } catch (Exception e) {
      throw new TransformerException(e);
    }
  }

  /** The request's document: "doc" (a file path) or "text" with "url". Null when neither is given. */
  InputSource input(Map<?, ?> request, String prefix) {
    Object path = request.get(prefix.isEmpty() ? "doc" : prefix);
    if (path instanceof String) return new InputSource(new File((String) path).toURI().toString());
    Object text = request.get(prefix.isEmpty() ? "text" : prefix + "Text");
    if (!(text instanceof String)) return null;
    InputSource source = new InputSource(new StringReader((String) text));
    Object url = request.get(prefix.isEmpty() ? "url" : prefix + "Url");
    if (url instanceof String && !((String) url).isEmpty()) source.setSystemId(toURI((String) url));
    return source;
  }

  /** A file path becomes a file: URI; a URI stays as it is. */
  static String toURI(String pathOrURI) {
    if (pathOrURI.matches("^[A-Za-z][A-Za-z0-9+.-]+:.*")) return pathOrURI;
    return new File(pathOrURI).toURI().toString();
  }

  SAXSource source(Map<?, ?> request, String prefix) throws TransformerException {
    InputSource input = input(request, prefix);
    return input == null ? null : new SAXSource(reader(), input);
  }
}
