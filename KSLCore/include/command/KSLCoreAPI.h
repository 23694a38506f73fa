// The library's front door.
#pragma once

#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "command/CommandNotifier.h"
#include "command/KSLUpdateMode.h"
#include "command/TextSource.h"

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

class KSLObject;
class KSLUpdateInfo;
class KSLUpdateRecorder;
class SessionUpdateStrategy;
class WriteSessionExecutor;
struct ParsedText;

// Observers attach for the notifications of command processing:
//    0  a text begins (nested ones too)          1  it is done, well or not
//   16  the outermost text has been processed without failure
//    4  objects recompute                        5  they are done
//   12  error recovery begins                   13  it is done
//   14  recovery of a failed undo begins        15  it is done
// What opens is closed, whatever fails. What an observer throws at 0, 4 or 16 fails the command; at the others it is
// swallowed.
//
// Who may submit text (processKSL, undo, redo), from where, and what comes of it:
//
//   from                                  while a command runs                       after a failure was reported
//   executor                              part of the command, at once               -
//   an object's update, calculation       part of the command, at once; what the     refused
//                                         update still had to recompute is left
//   database observer, progress watcher   part of the command; while changes are     refused
//                                         being applied, its own wait for those;
//                                         an undo or redo then fails the command
//   observer of 0, 1 (outermost)          a command of its own, before or after      likewise
//   observer of 0, 1 (nested), 4, 5, 16   part of the command, at once               refused
//   observer of 12 to 15                  -                                          refused
//   error sink, file watcher              part of the command (of a warning)         refused
//
// "Part of the command": one undo step; when it fails, the command fails, also when whoever submitted it keeps what it
// throws; that must pass through. Between a failure and its report, texts are skipped without a word. Refused: nothing
// is done, and a report of type 8 says so: class "KSLInterface", function "parseKSL", "Text submitted during error
// recovery is ignored." What the sink submits while it is told just that is dropped. A text that is submitted while the
// host runs an update outside any command is reported, internal::error of Executive::update, and not run.
class ORV_API KSLCoreAPI : public ObserverSubject {
 public:
  using Notification = CommandNotifier::Notification;
  static constexpr Notification parseBegin = CommandNotifier::parseBegin;
  static constexpr Notification parseEnd = CommandNotifier::parseEnd;
  static constexpr Notification updateBegin = CommandNotifier::updateBegin;
  static constexpr Notification updateEnd = CommandNotifier::updateEnd;
  static constexpr Notification recoveryBegin = CommandNotifier::recoveryBegin;
  static constexpr Notification recoveryEnd = CommandNotifier::recoveryEnd;
  static constexpr Notification redoRecoveryBegin = CommandNotifier::redoRecoveryBegin;
  static constexpr Notification redoRecoveryEnd = CommandNotifier::redoRecoveryEnd;
  static constexpr Notification outermostProcessed = CommandNotifier::outermostProcessed;

  static KSLCoreAPI* instance();  // made on first use
  // Null when there is none: for those that end, which must not make a new one.
  static KSLCoreAPI* current() noexcept;
  static void destroyInstance();

  // Runs a command text; errors inside are reported and recovered from, not thrown. A nested one throws what carries
  // its failure outward. Throws internal::badParam, class "KSLCoreAPI", function "processKSL", "Input parameter %s is empty." with
  // "p_KSLStr" for an empty text.
  // Errors name the source, and their place in it, where they can be shown.
  void processKSL(const std::string& text, kslUpdateMode mode, const TextSource& from = {});
  // Runs lines that the application's user entered, in the external update mode; with kslUpdateAtEnd ">
  // update" is added. While a session is recorded they are written to its file first, also when they fail then.
  // Throws as processKSL.
  void externalProcessKSL(const std::vector<std::string>& lines, const TextSource& from = {});
  // The same for a text of such lines, with the ends between them.
  void externalProcessText(const std::string& text, const TextSource& from = {});
  // A command in pieces, as KSLInterface has it, with the notifications of a text. What externalProcessKSL is given
  // meanwhile is recorded as one text, when the command has been done.
  bool beginCommand();
  bool endCommand(bool keep);
  bool isCommandOpen() const { return m_commandOpen; }
  // Replays a text through a SessionUpdater: what stands between its action lines goes to the strategy, and what that
  // makes of it is run. Not recorded. Throws as the SessionUpdater does. The strategy stays its caller's.
  void processKSLWithSessionUpdate(const std::string& text, SessionUpdateStrategy* strategy);

  // kslUpdateDefault at start.
  void setExternalKslUpdateMode(kslUpdateMode mode) { m_externalMode = mode; }
  kslUpdateMode getExternalKslUpdateMode() const { return m_externalMode; }
  // Who records what externalProcessKSL is given; not owned, null for nobody. A WriteSessionExecutor registers itself.
  void setSessionWriter(WriteSessionExecutor* writer) { m_sessionWriter = writer; }
  WriteSessionExecutor* getSessionWriter() const { return m_sessionWriter; }
  // Whether object types and parameter names are checked before objects are touched; off at start.
  void setValidationEnabled(bool on);
  // As Executive::forceUpdate.
  void forceUpdate(const std::vector<std::string>& names);

  // ---- What a command changed

  // Begins or ends the recording of changes, in the place of the database's one observer (throws as
  // ObjectDB::registerChangeNotify when the host has its own; then nothing is changed and a later call may
  // succeed). Begin before the first command: objects that are there already keep silent about their
  // parameters. Once ended, recording cannot be switched on again for the life of this core API, on purpose;
  // calls that change nothing do nothing.
  void recordKSLChanges(bool on);
  // The changes of the outermost processKSL that began last, and of what was done outside any since; null
  // when nothing is recorded. Owned here; the pointer holds as long as this core API, also after recording
  // has ended.
  KSLUpdateInfo* getUpdateInfo() const;

  // ---- Queries; nothing is changed by them
  //
  // Failures are data::invalid of class "KSLCoreAPI", type 4, "Input parameter %s is empty." with the name of
  // the argument. What the database and the factory throw passes through. Pointers to objects hold until the
  // object is deleted. Costs are those of the operations that are named.

  // As ObjectDB::hasObject: a text with a leading "/" is a path, any other the name of a top-level object.
  bool hasObject(const std::string& path) const;
  // False, too, when no object has the path. For an empty path or parameter ("p_path", "p_param") the function
  // is "getObjectParamHasParamByPath", on purpose.
  bool hasObjectGotParam(const std::string& path, const std::string& param) const;
  // Whether the text names an object, as hasObject does; a name is replaced by the path of its object.
  bool toValidatedPath(std::string& path) const;

  KSLObject* getObjectByPath(const std::string& path) const;     // null when there is none
  KSLObject* getTopObjectByName(const std::string& name) const;  // as ObjectDB::getObjectByName

  // Top-level objects of the type, both.
  std::vector<KSLObject*> getObjectsByType(const std::string& type) const;
  std::vector<KSLObject*> getTopObjectsByType(const std::string& type) const;
  std::vector<KSLObject*> getChildObjectsByType(const std::string& parentPath, const std::string& type) const;
  // In the whole database, in path order; the next two among top-level objects, and among children.
  std::vector<KSLObject*> getObjectsByCategory(const std::string& category) const;
  std::vector<KSLObject*> getTopObjectsByCategory(const std::string& category) const;
  std::vector<KSLObject*> getChildObjectsByCategory(const std::string& parentPath,
                                                    const std::string& category) const;
  // (path, value) of every object that has the parameter, in path order; list values are left out, as
  // ObjectDB does.
  void getObjectsWithParameter(const std::string& paramName,
                               std::vector<std::pair<std::string, std::string>>& results) const;

  // State text of the object with all below it: all parameters, or the external ones alone. Empty when there
  // is no such object. For an empty path ("p_path") the function is "getObjectKSL" of both, on purpose.
  std::string getObjectKSL(const std::string& path) const;
  std::string getObjectExternalKSL(const std::string& path) const;
  // As ObjectDB::getState, of a list of paths or names, or of one text that holds the list.
  std::string getState(const std::vector<std::string>& paths) const;
  std::string getState(const std::string& paths) const;

  // As KSLObject::getParams: the external parameters. Empty when no object has the path.
  std::map<std::string, std::string> getObjectParamsByPath(const std::string& path,
                                                           UnitSystemTypes::UnitsType units,
                                                           bool difference) const;
  // Name to rule default of a type's parameters, in the units asked for as KSLObject::getParams has them;
  // empty for an unknown type.
  std::map<std::string, std::string> getParamsForObjectType(const std::string& type,
                                                            UnitSystemTypes::UnitsType units,
                                                            bool externalOnly = true) const;

  // What is known; each in name order.
  std::vector<std::string> getCategories() const;
  std::vector<std::string> getObjectTypes() const;
  std::vector<std::string> getParamTypes() const;

  // As ObjectFactory::createObject: the object is its caller's and not in the database.
  std::unique_ptr<KSLObject> createObject(const std::string& parentPath, const std::string& type,
                                          const std::string& name) const;
  std::unique_ptr<KSLObject> createObject(const std::string& type, const std::string& name) const;

 private:
  KSLCoreAPI();
  ~KSLCoreAPI() override;
  void processText(const std::string& text, kslUpdateMode mode, const TextSource& from, ParsedText* ahead);
  void beginParseKSL();
  void endParseKSL();
  void closeCommand();
  void startRecording();
  void stopRecording();

  kslUpdateMode m_externalMode = kslUpdateDefault;
  std::unique_ptr<KSLUpdateRecorder> m_recorder;    // once made it stays: readers may hold it
  WriteSessionExecutor* m_sessionWriter = nullptr;  // not owned
  bool m_recording = false;                         // the recorder observes the database
  int m_parseCount = 0;                             // texts whose notification 1 has not begun
  int m_depth = 0;                                  // processKSL calls under way
  bool m_commandOpen = false;                       // between beginCommand and endCommand
  std::string m_entered;                            // from outside, in that command
};

}  // namespace orv
