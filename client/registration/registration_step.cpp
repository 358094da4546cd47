#include "client/registration/registration_step.h"

#include "client/foundation/text_parsing.h"

namespace Mardu::Sentel::Tavlo::Client {

void TellStep(const Console& console, StepResult result, const Registrable& what, const std::string& file,
              bool isForUser)
{
    const std::string whom = isForUser ? " for this user" : " for all users";
    const std::string which = file.empty() ? std::string(what.text) : what.text + (" " + Quoted(file));
    const bool isDone = result != StepResult::NotRegistered;
    const std::string did = result == StepResult::Registered ? "registered"
                            : result == StepResult::Kept     ? "kept"
                                                             : "unregistered";
    console.Note((isDone ? did + " " + which : which + " is not registered") + whom + "\n",
                 {{"result", isDone ? did : "not_registered"},
                  {"what", what.json},
                  {"file", TextOrNull(file)},
                  {"scope", isForUser ? "user" : "machine"}});
}

} // namespace Mardu::Sentel::Tavlo::Client
