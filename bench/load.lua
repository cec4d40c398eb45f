-- One request over and over: a POST of the file that is named first on wrk's command line, or a GET where that is
-- empty; with the token that is named second. The summary is a line of JSON.
function init(arguments)
    if arguments[1] ~= "" then
        local file = assert(io.open(arguments[1], "rb"))
        wrk.body = file:read("*a")
        file:close()
        wrk.method = "POST"
        wrk.headers["Content-Type"] = "application/json"
    end
    if arguments[2] ~= "" then
        wrk.headers["Authorization"] = "Bearer " .. arguments[2]
    end
end

function done(summary, latency)
    local errors = summary.errors
    io.write(string.format(
        '\n{"requests": %d, "seconds": %.6f, "p50": %.3f, "p99": %.3f, "refused": %d, "broken": %d}\n',
        summary.requests, summary.duration / 1e6, latency:percentile(50) / 1e3, latency:percentile(99) / 1e3,
        errors.status, errors.connect + errors.read + errors.write + errors.timeout))
end
