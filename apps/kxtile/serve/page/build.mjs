// SPDX-License-Identifier: MIT
// Bundles the page into static files: node build.mjs FOLDER
import { build } from 'esbuild';
import { copyFile, mkdir, readFile, writeFile } from 'node:fs/promises';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

const here = dirname(fileURLToPath(import.meta.url));
const target = process.argv[2];
if (!target) throw new Error('usage: node build.mjs FOLDER');

const { metafile } = await build({
  absWorkingDir: here,
  entryPoints: [{ in: 'src/main.js', out: 'page' }, { in: 'src/page.css', out: 'page' }],
  outdir: target,
  bundle: true,
  minify: true,
  format: 'esm',
  target: ['es2022'],
  legalComments: 'none',
  metafile: true,
  logLevel: 'warning',
});

/** The packages that went into the bundle. */
function bundledPackages() {
  const names = Object.keys(metafile.inputs).flatMap((path) =>
    /node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(path)?.[1] ?? []);
  return [...new Set(names)].sort();
}

async function licenceOf(name) {
  const folder = join(here, 'node_modules', name);
  const { version, license } = JSON.parse(await readFile(join(folder, 'package.json'), 'utf8'));
  for (const file of ['LICENSE', 'LICENSE.md', 'LICENCE', 'LICENSE.txt', 'license']) {
    const text = await readFile(join(folder, file), 'utf8').catch(() => '');
    if (text) return `${name} ${version} (${license})\n\n${text.trim()}\n`;
  }
  throw new Error(`${name} has no file with its licence`);
}

await mkdir(target, { recursive: true });
const licences = await Promise.all(bundledPackages().map(licenceOf));
await writeFile(join(target, 'licenses.txt'), licences.join(`\n${'-'.repeat(78)}\n\n`));
for (const file of ['index.html', 'icon.svg']) await copyFile(join(here, 'src', file), join(target, file));
