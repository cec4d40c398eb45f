-- One request over and over: a POST of the file that is named on wrk's command line, or a GET where none is. The
-- summary is a line of JSON.
function init(arguments)
    if not arguments[1] then
        return
    end
    local file = assert(io.open(arguments[1], "rb"))
    wrk.body = file:read("*a")
    file:close()
    wrk.method = "POST"
    wrk.headers["Content-Type"] = "application/json"
end

function done(summary, latency)
    local errors = summary.errors
    io.write(string.format(
        '\n{"requests": %d, "seconds": %.6f, "p50": %.3f, "p99": %.3f, "refused": %d, "broken": %d}\n',
        summary.requests, summary.duration / 1e6, latency:percentile(50) / 1e3, latency:percentile(99) / 1e3,
        errors.status, errors.connect + errors.read + errors.write + errors.timeout))
end
