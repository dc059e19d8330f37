package xylem.host;

import com.thaiopensource.util.PropertyMapBuilder;
import com.thaiopensource.validate.ValidateProperty;
import com.thaiopensource.validate.ValidationDriver;
import com.thaiopensource.validate.rng.CompactSchemaReader;
import java.io.File;
import java.util.HashMap;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import javax.xml.transform.sax.SAXSource;
import javax.xml.transform.stream.StreamSource;
import javax.xml.validation.Schema;
import javax.xml.validation.Validator;
import org.apache.xerces.jaxp.validation.XMLSchemaFactory;
import org.xml.sax.ErrorHandler;
import org.xml.sax.InputSource;
import org.xml.sax.SAXException;
import org.xml.sax.SAXParseException;

/** XML Schema 1.0 validation by Xerces-J and RELAX NG validation by Jing. */
final class SchemaRequests {
  /** Findings beyond this count are dropped: a broken big document must not flood the pipe. */
  private static final int MAX_FINDINGS = 1000;

  /** Compiled schemas by file and modification time, so repeated validations skip the compile. */
  private final Map<String, Schema> schemas = new ConcurrentHashMap<>();

  private static ErrorHandler collector(Problems problems) {
    return new ErrorHandler() {
      @Override
      public void warning(SAXParseException e) {
        if (problems.list.size() < MAX_FINDINGS) problems.add("warning", e);
      }

      @Override
      public void error(SAXParseException e) {
        if (problems.list.size() < MAX_FINDINGS) problems.add("error", e);
      }

      @Override
      public void fatalError(SAXParseException e) throws SAXException {
        problems.add("fatal", e);
        throw e;
      }
    };
  }

  private static Map<String, Object> outcome(Problems problems, boolean schemaFailed) {
    Map<String, Object> result = new HashMap<>();
    result.put("schemaFailed", schemaFailed);
    result.put("valid", !schemaFailed && !problems.hasErrors());
    return result;
  }

  private static String schemaFile(Map<?, ?> request, Problems problems) throws Failure {
    Object schema = request.get("schema");
    if (!(schema instanceof String)) {
      problems.add("fatal", "", "No schema given", "", -1, -1);
      throw new Failure();
    }
    return (String) schema;
  }

  Map<String, Object> xsd(Map<?, ?> request, Problems problems) throws Failure {
    Guard guard = new Guard(request);
    String schemaPath = schemaFile(request, problems);
    File file = new File(schemaPath);
    String key = file.getAbsolutePath() + "@" + file.lastModified() + "#" + request.get("catalogs");
    Schema schema = schemas.get(key);
    if (schema == null) {
      Problems schemaProblems = new Problems();
      try {
        XMLSchemaFactory factory = new XMLSchemaFactory();
        factory.setErrorHandler(collector(schemaProblems));
        factory.setResourceResolver(guard);
        schema = factory.newSchema(new StreamSource(Guard.toURI(schemaPath)));
      } catch (SAXException | RuntimeException e) {
        if (!schemaProblems.hasErrors()) schemaProblems.add("fatal", "", e.getMessage(), schemaPath, -1, -1);
      }
      problems.list.addAll(schemaProblems.list);
      if (schema == null || schemaProblems.hasErrors()) return outcome(problems, true);
      schemas.put(key, schema);
    }
    try {
      Validator validator = schema.newValidator();
      validator.setErrorHandler(collector(problems));
      validator.setResourceResolver(guard);
      InputSource input = guard.input(request, "");
      validator.validate(new SAXSource(guard.reader(), input));
    } catch (SAXParseException e) {
      // Already reported by the collector.
    } catch (Exception e) {
      problems.add("fatal", "", e.getMessage(), "", -1, -1);
    }
    return outcome(problems, false);
  }

  Map<String, Object> rng(Map<?, ?> request, Problems problems) throws Failure {
    Guard guard = new Guard(request);
    String schemaPath = schemaFile(request, problems);
    PropertyMapBuilder properties = new PropertyMapBuilder();
    Problems schemaProblems = new Problems();
    properties.put(ValidateProperty.ERROR_HANDLER, collector(schemaProblems));
    properties.put(ValidateProperty.ENTITY_RESOLVER, guard);
    properties.put(ValidateProperty.URI_RESOLVER, guard);
    ValidationDriver driver = schemaPath.endsWith(".rnc")
        ? new ValidationDriver(properties.toPropertyMap(), CompactSchemaReader.getInstance())
        : new ValidationDriver(properties.toPropertyMap());
    boolean loaded;
    try {
      loaded = driver.loadSchema(ValidationDriver.uriOrFileInputSource(Guard.toURI(schemaPath)));
    } catch (Exception e) {
      if (!schemaProblems.hasErrors()) schemaProblems.add("fatal", "", e.getMessage(), schemaPath, -1, -1);
      loaded = false;
    }
    problems.list.addAll(schemaProblems.list);
    if (!loaded) {
      if (!schemaProblems.hasErrors()) problems.add("fatal", "", "The schema could not be loaded", schemaPath, -1, -1);
      return outcome(problems, true);
    }
    // Findings of the instance go to the request's own list from here on.
    schemaProblems.list.clear();
    try {
      driver.validate(guard.input(request, ""));
    } catch (SAXParseException e) {
      // Already reported by the collector.
    } catch (Exception e) {
      schemaProblems.add("fatal", "", e.getMessage(), "", -1, -1);
    }
    problems.list.addAll(schemaProblems.list);
    return outcome(problems, false);
  }
}
