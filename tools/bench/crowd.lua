-- A crowd for wrk: wrk -c PLAYERS ... -s crowd.lua URL -- LIST [FILE [PACKING]]. Each player fetches the files of the list
-- one after the other from a random one on, or just FILE, with a new connection for each, as Qt does. PACKING is what he
-- accepts. At the end come "name value" lines.
local targets = {}
local headers = {["Connection"] = "close"}

local function encoded(path)
    return (path:gsub("\\", "/"):gsub("[^%w/._-]", function(c) return ("%%%02X"):format(c:byte()) end))
end

function setup(thread)
    seed = (seed or 0) + 1
    thread:set("seed", seed)
end

function init(args)
    headers["Host"] = wrk.headers["Host"]
    headers["Accept-Encoding"] = args[3]
    if args[2] then
        targets = {args[2]}
    else
        for line in io.lines(args[1]) do
            targets[#targets + 1] = line:match("^F#([^#]+)#")
        end
    end
    for i, path in ipairs(targets) do
        targets[i] = wrk.format("GET", wrk.path .. encoded(path), headers)
    end
    math.randomseed(seed)
    at = math.random(#targets)
end

function request()
    at = at % #targets + 1
    return targets[at]
end

function done(summary)
    local errors = summary.errors
    print(("rate %.1f"):format((summary.requests - errors.status) * 1e6 / summary.duration))
    print("good " .. summary.requests - errors.status)
    for name, count in pairs(errors) do
        print("error_" .. name .. " " .. count)
    end
end
