// SPDX-License-Identifier: Apache-2.0
// The part of tools/fleet_queries that runs ClickHouse: two servers on 127.0.0.2 and 127.0.0.3 and one
// ZooKeeper, all in build/fleet/clickhouse, which loses its contents at each start.
import {spawn} from 'node:child_process';
import fs from 'node:fs';
import http from 'node:http';
import net from 'node:net';
import path from 'node:path';

const HOSTS = ['127.0.0.2', '127.0.0.3'], KEEPER = {host: '127.0.0.2', port: 2181};
const DIRECTORY = path.resolve('build/fleet/clickhouse');
const sleep = milliseconds => new Promise(done => setTimeout(done, milliseconds));

export function missing() {
  const needed = [['/usr/sbin/clickhouse-server', 'clickhouse-server'], ['/usr/share/java/zookeeper.jar', 'zookeeper'],
                  ['/usr/bin/java', 'default-jre-headless']];
  return needed.filter(([file]) => !fs.existsSync(file)).map(([, debian]) => debian);
}

function serverConfiguration(number) {
  // Each server holds a replica of both shards, and is the first to be asked for one of them.
  const replica = (shard, host) => `<replica><host>${host}</host><port>9000</port>
      <default_database>shard_${shard}</default_database></replica>`;
  const shard = (shard, hosts) => `<shard><internal_replication>true</internal_replication>
      ${hosts.map(host => replica(shard, host)).join('\n      ')}</shard>`;
  return `<?xml version="1.0"?>
<yandex>
  <logger><level>warning</level><log>log</log><errorlog>errors</errorlog></logger>
  <listen_host>${HOSTS[number]}</listen_host>
  <http_port>8123</http_port><tcp_port>9000</tcp_port>
  <interserver_http_port>9009</interserver_http_port><interserver_http_host>${HOSTS[number]}</interserver_http_host>
  <path>data/</path><tmp_path>tmp/</tmp_path><timezone>UTC</timezone>
  <users_config>users.xml</users_config><default_profile>default</default_profile>
  <default_database>default</default_database><mark_cache_size>134217728</mark_cache_size>
  <macros><server>${number + 1}</server></macros>
  <zookeeper><node><host>${KEEPER.host}</host><port>${KEEPER.port}</port></node>
    <session_timeout_ms>10000</session_timeout_ms></zookeeper>
  <remote_servers><fleet>
    ${shard(1, HOSTS)}
    ${shard(2, [...HOSTS].reverse())}
  </fleet></remote_servers>
</yandex>
`;
}

// insert_distributed_sync: an insertion is confirmed when a replica of each shard has it on its disk.
const USERS = `<?xml version="1.0"?>
<yandex>
  <profiles><default>
    <insert_distributed_sync>1</insert_distributed_sync><load_balancing>in_order</load_balancing>
    <prefer_localhost_replica>0</prefer_localhost_replica>
    <connect_timeout_with_failover_ms>500</connect_timeout_with_failover_ms>
    <max_memory_usage>6000000000</max_memory_usage>
  </default></profiles>
  <users><default><password></password><networks><ip>127.0.0.0/8</ip></networks>
    <profile>default</profile><quota>default</quota></default></users>
  <quotas><default/></quotas>
</yandex>
`;

export class Cluster {
  #children = new Map();  // by name

  async start() {
    process.on('exit', () => this.#children.forEach(child => child.kill('SIGKILL')));
    fs.rmSync(DIRECTORY, {recursive: true, force: true});
    const keeper = path.join(DIRECTORY, 'keeper');
    fs.mkdirSync(keeper, {recursive: true});
    fs.writeFileSync(path.join(keeper, 'zoo.cfg'), `tickTime=500\ndataDir=${keeper}/data\nadmin.enableServer=false\n` +
        `clientPort=${KEEPER.port}\nclientPortAddress=${KEEPER.host}\n`);
    this.#spawn('keeper', '/usr/bin/java', ['-Xmx256m', '-cp', '/usr/share/java/*',
                                            'org.apache.zookeeper.server.ZooKeeperServerMain', 'zoo.cfg']);
    await this.#listening('keeper', KEEPER.port);
    for (const number of HOSTS.keys()) {
      const directory = path.join(DIRECTORY, `server${number}`);
      for (const name of ['data', 'tmp']) fs.mkdirSync(path.join(directory, name), {recursive: true});
      fs.writeFileSync(path.join(directory, 'config.xml'), serverConfiguration(number));
      fs.writeFileSync(path.join(directory, 'users.xml'), USERS);
      await this.startServer(number);
    }
  }

  #spawn(name, program, args) {
    const cwd = path.join(DIRECTORY, name);
    const out = fs.openSync(path.join(cwd, 'output'), 'a');
    const child = spawn(program, args, {cwd, stdio: ['ignore', out, out]});
    fs.closeSync(out);
    this.#children.set(name, child);
    child.on('exit', () => this.#children.get(name) === child && this.#children.delete(name));
    return child;
  }

  async startServer(number) {
    this.#spawn(`server${number}`, '/usr/sbin/clickhouse-server', ['--config-file=config.xml']);
    await this.#listening(`server${number}`, 8123, HOSTS[number]);
  }

  async #listening(name, port, host = KEEPER.host) {
    for (let tries = 0; tries < 300 && this.#children.has(name); ++tries) {
      const open = await new Promise(done => {
        const socket = net.connect({host, port}, () => done(true)).on('error', () => done(false));
        socket.on('connect', () => socket.destroy());
      });
      if (open) return;
      await sleep(100);
    }
    const said = fs.readFileSync(path.join(DIRECTORY, name, 'output'), 'utf8').trim().split('\n').slice(-5).join('\n');
    throw new Error(`${name} did not start on ${host}:${port}: ${said}`);
  }

  async #end(name, signal) {
    const child = this.#children.get(name);
    if (!child) return;
    const ended = new Promise(done => child.once('exit', done));
    child.kill(signal);
    await ended;
  }
  killServer(number) { return this.#end(`server${number}`, 'SIGKILL'); }
  async stop() {
    for (const number of HOSTS.keys()) await this.#end(`server${number}`, 'SIGTERM');
    await this.#end('keeper', 'SIGTERM');
    fs.rmSync(DIRECTORY, {recursive: true, force: true});
  }

  // The answer's rows, the names first; fails with the server's message.
  ask(sql, number = 0, data = '') {
    const query = data ? `?query=${encodeURIComponent(sql)}` : '';
    return new Promise((done, fail) => {
      const request = http.request({host: HOSTS[number], port: 8123, method: 'POST', path: `/${query}`, agent: false}, answer => {
        const parts = [];
        answer.on('data', part => parts.push(part));
        answer.on('error', fail);
        answer.on('aborted', () => fail(new Error('the connection was closed')));
        answer.on('end', () => {
          const text = Buffer.concat(parts).toString();
          // An error after the answer has begun stands at its end.
          if (answer.statusCode !== 200 || /^Code: \d+, e\.displayText/m.test(text)) return fail(new Error(text.trim()));
          done(text.trimEnd().split('\n').map(row => row.split('\t').map(value => value === '\\N' ? 'NULL' : value)));
        });
      });
      request.on('error', fail);
      request.end(data || sql + (/^\s*(SELECT|WITH)\b/.test(sql) ? ' FORMAT TabSeparatedWithNames' : ''));
    });
  }
  async figure(sql, number) { return Number((await this.ask(sql, number))[1][0]); }
}
