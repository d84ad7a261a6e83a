// SPDX-License-Identifier: MIT
// The sources that the tests of the page are served: all of kxorigin, one world in several forms.

export const kHostileName = `<img src=x onerror="document.title='taken'"> & 'quoted'`;
export const kHostileCredit = '<b onclick=alert(1)>bold</b> javascript:alert(1) https://example.org/terms?a=b&c=d.';

/** A date that kxorigin's earth server has pictures of around the world, tinted blue. */
export const kBlueDay = '2019-09-08';

/** @param {string} origin  kxorigin's address */
export function definitionsOf(origin) {
  const xyz = (name, route, more = {}) => ({
    name, url: `${origin}${route}/{$z}/{$x}/{$y}.png`, scheme: 'WebMercatorWGS84', format: 'png',
    attribution: 'kxorigin', ...more,
  });
  const levels = { west: -180, south: -85.0511287798066, east: 180, north: 85.0511287798066, min_level: 0, max_level: 18 };
  return {
    marble: xyz('Marble', '/xyz/marble', { attribution: 'NASA Blue Marble, public domain', bounds: levels }),
    graticule: xyz('Graticule', '/xyz/graticule', { bounds: levels }),
    shifted: xyz('Shifted graticule', '/xyz-gcj02/graticule', { datum: 'GCJ02', bounds: levels }),
    past: { name: 'Imagery of the past', url: `${origin}/earth`, scheme: 8, attribution: 'kxorigin' },
    faulty: xyz('Faulty', '/fault/status-500/always/xyz/marble', { bounds: levels }),
    hostile: xyz(kHostileName, '/xyz/graticule', { attribution: kHostileCredit, terms: '<script>alert(1)</script>' }),
    part: xyz('A part of the world', '/xyz/marble', {
      bounds: { west: 5, south: 45, east: 11, north: 48, min_level: 5, max_level: 12 },
    }),
  };
}
