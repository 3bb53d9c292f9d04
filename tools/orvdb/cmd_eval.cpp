// orvdb eval: JSON Lines requests on standard input, one answer line each.
#include <iostream>

#include "commands.h"
#include "eval.h"

namespace orvdb {

void AddEvalCommand(CLI::App& app, Commands& out) {
  auto* eval = app.add_subcommand("eval", "Answer JSON Lines requests from standard input, one line each");
  eval->footer(
      "Each line is one JSON object; each answer is one line, in order; a bad request is answered\n"
      "with {\"error\": \"...\"} and the stream goes on.\n"
      "  {\"op\":\"picture\", \"db\":PATH, \"model\":NAME | \"vendor\":V, \"group\":G [, \"model\":NAME],\n"
      "   \"entry\":\"GetPictureID\"|\"GetPictureIDEx\", \"form\":\"trays\"|\"names\", \"inTrays\":[...],\n"
      "   \"outTrays\":[...], \"duplexUnit\":N, \"outputUnit\":N, \"options\":[...], \"docOptions\":[...],\n"
      "   \"strings\":{\"9481\":TEXT, \"9482\":TEXT}, \"explain\":true}\n"
      "  {\"op\":\"lookup\", \"db\":PATH, \"name\":NAME}\n"
      "  {\"op\":\"sizelist\", \"block\":[BYTES], \"tray\":N | \"trayName\":NAME | \"whole\":true}\n"
      "  {\"op\":\"info\", \"calls\":[[\"get\",KEY], [\"set\",KEY,VALUE], ...]}\n"
      "The answers, the tray objects and the defaults: man orvdb, section EVAL REQUESTS.");
  out.push_back({eval, []() -> Outcome {
                   std::ios::sync_with_stdio(false);
                   Evaluator evaluator;
                   evaluator.Run(std::cin, std::cout);
                   return kExitOk;
                 }});
}

}  // namespace orvdb
