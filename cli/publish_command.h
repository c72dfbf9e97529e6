#pragma once
#include <memory>
#include <optional>

#include "cli/run_options.h"
#include "publishing/publisher.h"

namespace tavelin::cli {

// The publishing settings of a console command: publish.conf, with what
// the command line gives over it; none, said on stderr, when they cannot
// publish.
std::optional<PublishTarget> ConsolePublishTarget(const PublishOptions& options,
                                                  const char* command);

// A publisher that tells the terminal what happens to the link.
std::unique_ptr<Publisher> StartConsolePublisher(const PublishTarget& target, const char* command);

// After a run: the spool sent while the broker answers, what is left said.
void FinishConsolePublisher(Publisher& publisher, const char* command);

// tavelin-cli publish --drain: what earlier runs left in the spool, sent.
int RunPublish(const PublishOptions& options);

}  // namespace tavelin::cli
