/*
 * recording_controller.h - a controller that keeps its reports instead of printing them
 */
#ifndef TESTS_RECORDING_CONTROLLER_H
#define TESTS_RECORDING_CONTROLLER_H

#include <string>
#include <vector>

#include "zelkov/control.h"

struct RecordedReport {
    std::string module, source;
    int line;
    int32_t severity;
    std::string key, text;
};

/* Lives as long as the test.  Severity 4 stops it and its adopted instances, as with the real
 * controller; reports after a stop are recorded too. */
class RecordingController {
  public:
    RecordingController();
    ~RecordingController();
    RecordingController(const RecordingController &) = delete;
    RecordingController &operator=(const RecordingController &) = delete;

    operator ZelkovController *() const { return controller; }

    /* Takes what was recorded so far. */
    std::vector<RecordedReport> take();

    /* The same as texts "module severity key: text", or with the line, "module:line severity
     * key: text"; for comparing in one go. */
    std::vector<std::string> takeTexts();
    std::vector<std::string> takeTextsWithLines();

    std::vector<RecordedReport> reports;

  private:
    ZelkovController *controller;
};

#endif
