#include "processors/ProcessorInfos.hpp"

#include <libxml/xmlversion.h>

#include "common/Utf.hpp"

namespace xylem {

namespace {

IyProcessorInfoPtr make(const char16_t* Name, std::u16string Version, const char16_t* Doc) {
  return std::make_shared<CyProcessorInfo>(Name, std::move(Version), Doc);
}

}  // namespace

const IyProcessorInfoPtr& LibXml2ProcessorInfo() {
  static const IyProcessorInfoPtr info = make(u"libxml2", ToUTF16(LIBXML_DOTTED_VERSION),
                                              u"https://gnome.pages.gitlab.gnome.org/libxml2/");
  return info;
}

const IyProcessorInfoPtr& SaxonProcessorInfo() {
  static const IyProcessorInfoPtr info =
      make(u"Saxon-HE", u"9.9", u"https://www.w3.org/2005/xqt-errors/");
  return info;
}

const IyProcessorInfoPtr& XercesProcessorInfo() {
  static const IyProcessorInfoPtr info =
      make(u"Xerces-J", u"2.12", u"https://www.w3.org/TR/xmlschema-1/#");
  return info;
}

const IyProcessorInfoPtr& JingProcessorInfo() {
  static const IyProcessorInfoPtr info = make(u"Jing", u"20181222", u"https://relaxng.org/");
  return info;
}

const IyProcessorInfoPtr& JavaHostProcessorInfo() {
  static const IyProcessorInfoPtr info = make(u"Java host", u"1", u"");
  return info;
}

}  // namespace xylem
