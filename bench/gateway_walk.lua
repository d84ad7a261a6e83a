-- SPDX-License-Identifier: MIT
-- A map that is moved and zoomed: from level 3 down to 12 at a place, a window of 6 x 4 tiles on
-- each level, now and then a step aside; then on to another place, often one seen before.
local queue, first = {}, 1

local function window(level, column, row)
    for y = row, row + 3 do
        for x = column, column + 5 do
            local count = 2 ^ level
            if y < count then
                queue[#queue + 1] = string.format("/gcj02/%d/%d/%d.jpg", level, x % count, y)
            end
        end
    end
end

local function visit()
    queue, first = {}, 1
    -- Places are drawn so that a few are seen often.
    local place = math.floor(200 * math.random() ^ 3)
    local across, down = (place * 0.61803) % 1, 0.25 + (place * 0.41421) % 0.5
    for level = 3, 12 do
        local column = math.floor(across * 2 ^ level)
        local row = math.floor(down * 2 ^ level)
        window(level, column, row)
        if math.random() < 0.5 then
            window(level, column + 2, row + 1)
        end
    end
end

function init()
    math.randomseed(7)
end

function request()
    if first > #queue then
        visit()
    end
    first = first + 1
    return wrk.format("GET", queue[first - 1])
end
