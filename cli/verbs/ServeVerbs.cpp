// The page: a local server that shows the host's screens in a browser.
#include <iostream>
#include <memory>

#include "Verbs.h"
#include "frame/Complaint.h"
#include "serve/Server.h"

namespace cli {

namespace {

struct ServeOptions {
    int port = 0;
    bool printUrl = false;
};

Outcome Serve(const Session& session, const ServeOptions& options) {
    const auto set = session.OpenSet();
    const auto server = std::make_shared<serve::Server>(set, session.language, options.port);
    const std::string url = server->Url();
    const Json document = {{"url", url}, {"port", server->Port()}, {"set", set.Path().string()}};
    Outcome outcome;
    outcome.document = document;
    outcome.printText = [url, options] {
        if (options.printUrl) {
            std::cout << url << '\n';
        } else {
            std::cout << "The screens of the set: " << url << "\nCtrl-C ends the page.\n";
        }
    };
    outcome.afterwards = [server] { return server->Serve(); };
    return outcome;
}

}  // namespace

void AddServeVerbs(CLI::App& app, const Session& session, Selection& selection) {
    auto options = std::make_shared<ServeOptions>();
    CLI::App* verb = app.add_subcommand("serve", "The screens as a page for a browser on this machine");
    verb->add_option("--port", options->port, "Port to listen on; 0 takes one that is free")
        ->check(Between(0, 65535))
        ->capture_default_str();
    verb->add_flag("--print-url", options->printUrl, "Print the address alone");
    Declare(verb, selection, Place::kOutside, [&session, options] { return Serve(session, *options); });
}

}  // namespace cli
