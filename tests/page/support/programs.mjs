// SPDX-License-Identifier: MIT
// The programs that the tests of the page start, and end.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';

export const kxtile = process.env.KXTILE_PROGRAM;
const kxorigin = process.env.KXORIGIN_PROGRAM;

/** Starts a program and waits for the address that it prints. */
async function start(program, args, environment = {}) {
  const child = spawn(program, args, {
    env: { ...process.env, no_proxy: '127.0.0.1', ...environment }, stdio: ['ignore', 'pipe', 'pipe'],
  });
  let errors = '';
  child.stderr.on('data', (data) => { errors = (errors + data).slice(-4000); });
  const lines = createInterface(child.stdout);
  const found = (async () => {
    for await (const line of lines) {
      const address = /http:\/\/127\.0\.0\.1:\d+/.exec(line);
      if (address) return address[0];
    }
    throw new Error(`${program} ${args.join(' ')} printed no address: ${errors}`);
  })();
  const address = await found;
  child.stdout.resume();
  return {
    address,
    async stop() {
      child.kill('SIGTERM');
      const [status, signal] = child.exitCode === null ? await once(child, 'exit') : [child.exitCode, child.signalCode];
      if (status !== 0) throw new Error(`${program} ended with ${status ?? signal}: ${errors}`);
    },
  };
}

export const startOrigin = () => start(kxorigin, ['--port', '0', '--log', '/dev/null']);

/** A text for TOML, whatever is in it. */
const quoted = (text) => JSON.stringify(text);

/** @param {Record<string, string|number|object>} definition */
function toToml(definition) {
  const { bounds, ...keys } = definition;
  const line = ([key, value]) => `${key} = ${typeof value === 'string' ? quoted(value) : value}`;
  return [...Object.entries(keys).map(line), ...(bounds ? ['[bounds]', ...Object.entries(bounds).map(line)] : [])].join('\n');
}

/**
 * A gateway of definitions, in a folder of its own with a cache of its own.
 * @param {Record<string, object>} definitions  by the name of their file
 * @param {string[]} more  arguments
 */
export async function startGateway(definitions, more = [], environment = {}) {
  const folder = await mkdtemp(join(tmpdir(), 'kxtile-page-'));
  const define = async (name, definition) => {
    const path = join(folder, `${name}.toml`);
    await writeFile(path, toToml(definition));
    return path;
  };
  const files = [];
  for (const [name, definition] of Object.entries(definitions)) files.push(await define(name, definition));
  const gateway = await start(kxtile, ['serve', '--port', '0', ...more, ...files], {
    KXTILE_CACHE_DIR: join(folder, 'cache'), ...environment,
  });
  return {
    address: gateway.address,
    folder,
    /** Writes a definition, over one of that name. */
    define,
    async stop() {
      await gateway.stop();
      await rm(folder, { recursive: true });
    },
  };
}
