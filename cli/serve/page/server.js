// The connection to the server: calls, and the events that the server sends. All addresses are relative, so each
// carries the token of the page's own address.

/// {ok, status, document}; document is {"error": {...}} when it failed.
export async function call(verb, argument) {
    try {
        const answer = await fetch(`api/${verb}`, {
            method: "POST",
            headers: { "Content-Type": "application/json" },
            body: JSON.stringify(argument ?? {}),
        });
        return { ok: answer.ok, status: answer.status, document: await answer.json() };
    } catch (problem) {
        return { ok: false, status: 0, document: { error: { kind: "no-server", message: String(problem.message) } } };
    }
}

/// handlers: set, state, journal (each with the event's data), connected (true or false).
export function follow(handlers) {
    const source = new EventSource("api/events");
    for (const name of ["set", "state", "journal"]) {
        source.addEventListener(name, (event) => handlers[name](JSON.parse(event.data)));
    }
    source.addEventListener("open", () => handlers.connected(true));
    source.addEventListener("error", () => {
        handlers.connected(false);
        // A browser gives up after an answer that is no stream, for example when too many pages are open.
        if (source.readyState === EventSource.CLOSED) {
            setTimeout(() => follow(handlers), 3000);
        }
    });
}
