#pragma once
// Error lists, the list of a run's one fatal error, and clusters of lists. A list's errors never
// change after creation; its Description is the one writable property and is guarded by a lock,
// so a list built on a worker thread can be handed to the user-interface thread as it is.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "diag/ErrRecord.hpp"

namespace xylem {

class IyXMLErrs {
 public:
  virtual ~IyXMLErrs() = default;
  // Heading under which the list is shown. Thread-safe.
  virtual std::u16string getDescription() const = 0;
  virtual void setDescription(std::u16string Description) = 0;
  virtual int32_t getCount() const = 0;
  // The error at 0-based Index; raises CyShouldNeverHappenException outside [0, Count).
  virtual const IyXMLErrPtr& getXMLErr(int32_t Index) const = 0;
};
using IyXMLErrsPtr = std::shared_ptr<IyXMLErrs>;

// A description string behind a lock: the writable part of otherwise immutable lists.
class CyXMLErrsDescription {
 public:
  explicit CyXMLErrsDescription(std::u16string Text) : Text_(std::move(Text)) {}
  std::u16string get() const;
  void set(std::u16string Text);

 private:
  mutable std::mutex Lock_;
  std::u16string Text_;
};

class CyXMLErrs final : public IyXMLErrs {
 public:
  CyXMLErrs(std::u16string Description, std::vector<IyXMLErrPtr> Errors);

  std::u16string getDescription() const override { return Description_.get(); }
  void setDescription(std::u16string Description) override {
    Description_.set(std::move(Description));
  }
  int32_t getCount() const override { return static_cast<int32_t>(Errors_.size()); }
  const IyXMLErrPtr& getXMLErr(int32_t Index) const override;

 private:
  CyXMLErrsDescription Description_;
  std::vector<IyXMLErrPtr> Errors_;
};

// A new list under a copy of Errs' description with its errors in CompareToObject order (URL,
// line, position); equal locations keep their order. O(n log n), allocates.
IyXMLErrsPtr SortXMLErrsByLocation(const IyXMLErrs& Errs);

// The list of a run that could not continue: Count is always 1 and every index returns the
// one error.
class CyFatalXMLErrs final : public IyXMLErrs {
 public:
  // The list of an error made elsewhere; raises CyShouldNeverHappenException for null.
  CyFatalXMLErrs(std::u16string Description, std::shared_ptr<const CyFatalXMLErr> Error);
  // These make the error with CyFatalXMLErr's matching constructor; the description is empty.
  CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location, std::u16string Reason,
                 TyXMLErrSeverity Severity);
  CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location, std::u16string Reason,
                 std::u16string ReasonDoc, std::u16string ReasonID, TyXMLErrSeverity Severity);
  CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                 std::u16string_view Format, const std::vector<TyXMLErrFormatArg>& Args,
                 TyXMLErrSeverity Severity);
  CyFatalXMLErrs(IyProcessorInfoPtr ProcessorInfo, IyXMLLocationPtr Location,
                 std::u16string_view Format, const std::vector<TyXMLErrFormatArg>& Args,
                 std::u16string ReasonDoc, std::u16string ReasonID, TyXMLErrSeverity Severity);

  std::u16string getDescription() const override { return Description_.get(); }
  void setDescription(std::u16string Description) override {
    Description_.set(std::move(Description));
  }
  int32_t getCount() const override { return 1; }
  const IyXMLErrPtr& getXMLErr(int32_t) const override { return Error_; }

 private:
  CyXMLErrsDescription Description_;
  IyXMLErrPtr Error_;
};

// Several lists (one per checked document or processor run) in the order added. Filled on one
// thread; after that, reading it from other threads is safe.
class CyXMLErrCluster {
 public:
  // Makes Errors into a list under Description and appends it.
  void Add(std::u16string Description, std::vector<IyXMLErrPtr> Errors);
  // Appends Errs as it is (a filter, a fatal list, ...). Null is ignored.
  void Add(IyXMLErrsPtr Errs);
  int32_t getCount() const { return static_cast<int32_t>(Lists_.size()); }
  // The list at 0-based Index; raises CyShouldNeverHappenException outside [0, Count).
  const IyXMLErrsPtr& getXMLErrs(int32_t Index) const;

 private:
  std::vector<IyXMLErrsPtr> Lists_;
};

// Raises CyShouldNeverHappenException unless 0 <= Index < Count.
void CheckXMLErrIndex(int32_t Index, size_t Count);

}  // namespace xylem
