// SPDX-License-Identifier: MIT
// The shapes that travel between the files of the page; types only.

/**
 * A source as /sources.json lists it.
 * @typedef {object} Source
 * @property {string} id           part of addresses
 * @property {string} name         for people
 * @property {"service"|"history"|"raster"} kind
 * @property {string} format       natural format of its tiles
 * @property {string} tiles        template of the aligned tiles, relative to the gateway's root
 * @property {?string} raw         template of the service's own tiles, null where it has none
 * @property {number} minzoom
 * @property {number} maxzoom
 * @property {number[]} bounds     west, south, east, north in degrees
 * @property {number[]} center     longitude, latitude, level
 * @property {string} attribution
 * @property {string} terms
 * @property {"wgs84"|"gcj02"|"bd09"} datum
 * @property {number} scheme
 * @property {number} tile_size    pixels
 * @property {boolean} history     whether ?date= chooses among pictures of the past
 * @property {boolean} usable      whether it can be served
 * @property {?string} error       why the source cannot be served
 * @property {?string} file        name of its definition or raster, without the folder
 */

/**
 * What one side of the map shows.
 * @typedef {object} Side
 * @property {string} id
 * @property {boolean} raw   the service's own tiles, where they come to lie
 * @property {string} date   YYYY-MM-DD, empty for the current picture
 */

/**
 * All that the address bar holds.
 * @typedef {object} View
 * @property {number[]} center     longitude, latitude in degrees
 * @property {number} zoom
 * @property {Side} left           what the whole map shows when nothing is compared
 * @property {?Side} right         null when nothing is compared
 * @property {number} split        where the two sides meet, 0 to 1 of the map's width
 * @property {boolean} graticule
 * @property {boolean} tiles       borders of tiles, with their addresses
 */

/** @typedef {"left"|"right"} SideName */

/**
 * What became of one tile.
 * @typedef {object} TileRecord
 * @property {number} status    of the answer; 0 when there was none
 * @property {string} cache     where the gateway had it from
 * @property {number} ms        that the gateway took for it, NaN when it does not say
 * @property {string} message   why there is no picture; empty where there is one
 * @property {boolean} isSharp  whether it is one of twice the size
 */

export {};
