defmodule VkSony.Cameras do
  @moduledoc """
  A supervisor for many cameras: one bridge per camera, found by camera id.

      {:ok, _} =
        VkSony.Cameras.start_link(
          name: MyApp.Cameras,
          executable: "/usr/bin/vk-sony",
          cameras: ["USB|ILME-FX6|D10042", "IP|ILCE-7SM3|192.168.1.10"]
        )

      :ok = VkSony.Cameras.set(MyApp.Cameras, "USB|ILME-FX6|D10042", "ISO", 1600)

  Each camera has a keeper process (`VkSony.Camera`), registered in a
  `Registry` under its camera id, that runs the camera's `VkSony.Bridge`.
  When the bridge ends (the camera went away, the process was killed), the
  keeper starts a new one after a back-off delay that doubles from
  `:backoff_min` (default 500 ms) up to `:backoff_max` (default 30 s) while
  bridges keep ending, and falls back to the minimum once a bridge has been
  ready (its camera connected) for `:backoff_max`.

  The owner (`:owner`, default the caller) receives
  `{:vk_sony_camera, camera_id, event}` for every event of every bridge (see
  `VkSony.Bridge`), including `{:exit, %VkSony.Bridge.Exit{}}` when one ends.

  Options: `:name` (required; also names the registry, `Module.concat(name,
  Registry)`), `:executable`, `:cameras` (camera ids, or
  `{camera_id, bridge_options}` with extra `VkSony.Bridge` options such as
  `:args` or `:env`), `:env` (for every bridge), `:owner`, `:backoff_min`,
  `:backoff_max`.

  A bridge is a process like any other: with Erlang distribution, the pid
  returned by `bridge/2` can be called from another node.
  """
  use Supervisor

  alias VkSony.{Bridge, Camera}

  def start_link(options) do
    options = Keyword.put_new(options, :owner, self())
    name = Keyword.fetch!(options, :name)
    Supervisor.start_link(__MODULE__, options, name: name)
  end

  @doc "Starts one more camera under the supervisor."
  def start_camera(cameras, camera, options \\ []) do
    config = :persistent_term.get({__MODULE__, cameras})
    Supervisor.start_child(cameras, camera_spec(config, camera, options))
  end

  @doc "The registry that maps camera ids to keepers."
  def registry(cameras), do: Module.concat(cameras, Registry)

  @doc "The camera ids that are running."
  def camera_ids(cameras),
    do: Registry.select(registry(cameras), [{{:"$1", :_, :_}, [], [:"$1"]}])

  @doc "The current bridge of a camera, or nil while it is being restarted."
  def bridge(cameras, camera_id) do
    case Registry.lookup(registry(cameras), camera_id) do
      [{keeper, _}] -> Camera.bridge(keeper)
      [] -> nil
    end
  end

  @doc "`VkSony.Bridge.set/4` on a camera's current bridge; `{:error, :closed}` when it has none."
  def set(cameras, camera_id, key, value, timeout \\ 5_000),
    do: with_bridge(cameras, camera_id, &Bridge.set(&1, key, value, timeout))

  @doc "`VkSony.Bridge.get/3` on a camera's current bridge."
  def get(cameras, camera_id, key, timeout \\ 5_000),
    do: with_bridge(cameras, camera_id, &Bridge.get(&1, key, timeout))

  @doc "`VkSony.Bridge.command/3` on a camera's current bridge."
  def command(cameras, camera_id, line, timeout \\ 5_000),
    do: with_bridge(cameras, camera_id, &Bridge.command(&1, line, timeout))

  defp with_bridge(cameras, camera_id, fun) do
    case bridge(cameras, camera_id) do
      nil -> {:error, :closed}
      bridge -> fun.(bridge)
    end
  end

  @impl true
  def init(options) do
    name = Keyword.fetch!(options, :name)

    config = %{
      registry: registry(name),
      owner: Keyword.fetch!(options, :owner),
      executable: Keyword.fetch!(options, :executable),
      env: Keyword.get(options, :env, []),
      backoff_min: Keyword.get(options, :backoff_min, 500),
      backoff_max: Keyword.get(options, :backoff_max, 30_000)
    }

    :persistent_term.put({__MODULE__, name}, config)

    cameras =
      for camera <- Keyword.get(options, :cameras, []) do
        {id, bridge_options} = if is_tuple(camera), do: camera, else: {camera, []}
        camera_spec(config, id, bridge_options)
      end

    # The keepers register in the registry: if it restarts, so do they.
    Supervisor.init([{Registry, keys: :unique, name: config.registry} | cameras],
      strategy: :rest_for_one
    )
  end

  defp camera_spec(config, camera_id, bridge_options) do
    bridge_options =
      [executable: config.executable, args: [camera_id]]
      |> Keyword.merge(bridge_options)
      |> Keyword.update(:env, config.env, &(config.env ++ &1))

    Supervisor.child_spec(
      {Camera, Map.merge(config, %{camera_id: camera_id, bridge_options: bridge_options})},
      id: {Camera, camera_id}
    )
  end
end

defmodule VkSony.Camera do
  @moduledoc """
  Keeps one camera's bridge running (see `VkSony.Cameras`): starts it,
  forwards its events to the owner tagged with the camera id, and starts a
  new one with back-off when it ends.
  """
  use GenServer

  alias VkSony.Bridge

  def start_link(config) do
    GenServer.start_link(__MODULE__, config,
      name: {:via, Registry, {config.registry, config.camera_id}}
    )
  end

  @doc "The keeper's current bridge, or nil while it waits to restart it."
  def bridge(keeper) do
    GenServer.call(keeper, :bridge)
  catch
    :exit, _ -> nil
  end

  @doc "How many bridges have ended so far, and the delay before the next start."
  def restarts(keeper), do: GenServer.call(keeper, :restarts)

  @impl true
  def init(config) do
    Process.flag(:trap_exit, true)

    state =
      Map.merge(config, %{bridge: nil, ready_at: nil, restarts: 0, delay: config.backoff_min})

    {:ok, start_bridge(state)}
  end

  @impl true
  def handle_call(:bridge, _from, state), do: {:reply, state.bridge, state}
  def handle_call(:restarts, _from, state), do: {:reply, {state.restarts, state.delay}, state}

  @impl true
  def handle_info({:vk_sony, bridge, event}, %{bridge: bridge} = state) do
    send(state.owner, {:vk_sony_camera, state.camera_id, event})
    ready_at = if event == :ready, do: System.monotonic_time(:millisecond), else: state.ready_at
    {:noreply, %{state | ready_at: ready_at}}
  end

  def handle_info({:EXIT, bridge, _reason}, %{bridge: bridge} = state) do
    # A bridge that served its camera for a while was not failing: begin
    # again at the shortest delay.
    served = state.ready_at && System.monotonic_time(:millisecond) - state.ready_at
    delay = if served && served >= state.backoff_max, do: state.backoff_min, else: state.delay
    Process.send_after(self(), :restart, delay)

    {:noreply,
     %{
       state
       | bridge: nil,
         restarts: state.restarts + 1,
         delay: min(delay * 2, state.backoff_max)
     }}
  end

  def handle_info(:restart, state), do: {:noreply, start_bridge(state)}
  def handle_info(_message, state), do: {:noreply, state}

  @impl true
  def terminate(_reason, state) do
    if state.bridge, do: Bridge.close(state.bridge)
    :ok
  end

  defp start_bridge(state) do
    {:ok, bridge} = Bridge.start_link(Keyword.put(state.bridge_options, :owner, self()))
    %{state | bridge: bridge, ready_at: nil}
  end
end
