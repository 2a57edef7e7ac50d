#!/usr/bin/env node
// Makes the GeoJSON files of share/maps/ from the TopoJSON of the npm packages us-atlas and
// world-atlas. Run at development time, not at build time:
//
//   mkdir /tmp/atlas && cd /tmp/atlas && npm install topojson-client us-atlas world-atlas
//   NODE_PATH=/tmp/atlas/node_modules node scripts/convert-maps.js share/maps
//
// Coordinates are longitude and latitude in degrees, rounded to keep the files small; each
// feature keeps its name and its numeric code ("id": the state's FIPS code, the country's
// ISO 3166-1 numeric code).
'use strict';
const fs = require('fs');
const path = require('path');
const topojson = require('topojson-client');

const outDir = process.argv[2] || 'share/maps';

function round(coords, digits) {
    const f = Math.pow(10, digits);
    if (typeof coords[0] === 'number') return coords.map((c) => Math.round(c * f) / f);
    return coords.map((c) => round(c, digits));
}

// Drops points that rounding made equal to the one before.
function dedupe(ring) {
    const out = [];
    for (const p of ring) {
        const q = out[out.length - 1];
        if (!q || q[0] !== p[0] || q[1] !== p[1]) out.push(p);
    }
    return out;
}

function cleanGeometry(g, digits) {
    const polys = g.type === 'Polygon' ? [g.coordinates] : g.coordinates;
    const kept = [];
    for (const poly of polys) {
        const rings = poly.map((r) => dedupe(round(r, digits))).filter((r) => r.length >= 4);
        if (rings.length) kept.push(rings);
    }
    if (!kept.length) return null;
    return kept.length === 1 ? {type: 'Polygon', coordinates: kept[0]}
                             : {type: 'MultiPolygon', coordinates: kept};
}

function convert(pkg, file, object, digits, outName, title) {
    const topo = JSON.parse(fs.readFileSync(require.resolve(`${pkg}/${file}`), 'utf8'));
    const fc = topojson.feature(topo, topo.objects[object]);
    const features = [];
    for (const f of fc.features) {
        if (!f.geometry) continue;
        const geometry = cleanGeometry(f.geometry, digits);
        if (!geometry) continue;
        features.push({type: 'Feature', id: f.id,
                       properties: {name: f.properties.name, id: f.id}, geometry});
    }
    features.sort((a, b) => a.properties.name.localeCompare(b.properties.name));
    const out = {type: 'FeatureCollection', name: title, features};
    fs.writeFileSync(path.join(outDir, outName), JSON.stringify(out));
    console.log(`${outName}: ${features.length} features`);
}

convert('us-atlas', 'states-10m.json', 'states', 3, 'united-states.geojson', 'UnitedStates');
convert('world-atlas', 'countries-50m.json', 'countries', 2, 'world-countries.geojson', 'WorldCountries');
