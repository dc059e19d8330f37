#pragma once
// The processors that report through error records: shared, immutable descriptions.

#include "diag/ErrRecord.hpp"

namespace xylem {

// libxml2 in process (its runtime version).
const IyProcessorInfoPtr& LibXml2ProcessorInfo();
// The processors of the Java host.
const IyProcessorInfoPtr& SaxonProcessorInfo();
const IyProcessorInfoPtr& XercesProcessorInfo();
const IyProcessorInfoPtr& JingProcessorInfo();
// The client of the Java host itself (start failures, deaths, time-outs, cancellation).
const IyProcessorInfoPtr& JavaHostProcessorInfo();

}  // namespace xylem
