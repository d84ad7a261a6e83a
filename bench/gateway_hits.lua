-- SPDX-License-Identifier: MIT
-- Asks for the 1024 tiles of level 5, one after the other.
local count = 0

function request()
    count = count + 1
    local number = count * 37 % 1024
    return wrk.format("GET", string.format("/gcj02/5/%d/%d.jpg", number % 32, math.floor(number / 32)))
end
